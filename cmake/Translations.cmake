# The text tables: resources/i18n/quillmere_LANGUAGE.ts, keyed by dotted ids, compiled and embedded into quillmere_texts.
# A new table is picked up by its name; Texts::available() lists what is embedded.

file(GLOB text_tables CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/resources/i18n/quillmere_*.ts")
set(text_dir "${PROJECT_BINARY_DIR}/texts")
file(MAKE_DIRECTORY "${text_dir}")

set(compiled_tables)
set(resource_entries "")
foreach(table IN LISTS text_tables)
  get_filename_component(name "${table}" NAME_WE)
  add_custom_command(
    OUTPUT "${text_dir}/${name}.qm"
    COMMAND Qt6::lrelease -silent -idbased "${table}" -qm "${text_dir}/${name}.qm"
    DEPENDS "${table}"
    VERBATIM)
  list(APPEND compiled_tables "${text_dir}/${name}.qm")
  string(APPEND resource_entries "<file>${name}.qm</file>")
endforeach()

file(CONFIGURE OUTPUT "${text_dir}/texts.qrc"
  CONTENT "<RCC><qresource prefix=\"/texts\">${resource_entries}</qresource></RCC>\n")
add_custom_command(
  OUTPUT "${text_dir}/qrc_texts.cpp"
  COMMAND Qt6::rcc --name texts --output "${text_dir}/qrc_texts.cpp" "${text_dir}/texts.qrc"
  DEPENDS ${compiled_tables} "${text_dir}/texts.qrc"
  VERBATIM)

add_library(quillmere_texts STATIC "${PROJECT_SOURCE_DIR}/src/app/compose/texts/Texts.cpp"
  "${PROJECT_SOURCE_DIR}/src/app/compose/texts/Texts.h" "${text_dir}/qrc_texts.cpp")
quillmere_own_code(quillmere_texts)
target_link_libraries(quillmere_texts PUBLIC Qt6::Core)
