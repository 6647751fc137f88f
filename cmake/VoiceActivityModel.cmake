# The voice-activity model: QUILLMERE_VAD_MODEL_FILE in the build tree, made by the target quillmere_vad_model from what
# third_party/fetch-voice-activity-model.sh brings, or copied from QUILLMERE_VAD_MODEL. Installed beside the resources.
set(QUILLMERE_VAD_MODEL "" CACHE FILEPATH "A finished ggml-silero-v5.1.2.bin to use instead of making one")

set(vad_model_sha256 29940d98d42b91fbd05ce489f3ecf7c72f0a42f027e4875919a28fb4c04ea2cf)
set(QUILLMERE_VAD_MODEL_FILE "${PROJECT_BINARY_DIR}/models/ggml-silero-v5.1.2.bin")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/models")

if(QUILLMERE_VAD_MODEL)
  if(NOT EXISTS "${QUILLMERE_VAD_MODEL}")
    message(FATAL_ERROR "QUILLMERE_VAD_MODEL names ${QUILLMERE_VAD_MODEL}, which does not exist.")
  endif()
  file(SHA256 "${QUILLMERE_VAD_MODEL}" vad_model_found)
  if(NOT vad_model_found STREQUAL vad_model_sha256)
    message(FATAL_ERROR "QUILLMERE_VAD_MODEL names a file that the program would refuse: its SHA-256 is "
                        "${vad_model_found} instead of ${vad_model_sha256}.")
  endif()
  add_custom_command(OUTPUT "${QUILLMERE_VAD_MODEL_FILE}"
    COMMAND ${CMAKE_COMMAND} -E copy "${QUILLMERE_VAD_MODEL}" "${QUILLMERE_VAD_MODEL_FILE}"
    DEPENDS "${QUILLMERE_VAD_MODEL}" VERBATIM)
else()
  set(vad_model_source "${PROJECT_SOURCE_DIR}/third_party/src/silero-vad/silero_vad.jit")
  set(vad_model_maker "${PROJECT_SOURCE_DIR}/third_party/make-voice-activity-model.py")
  if(NOT EXISTS "${vad_model_source}")
    message(FATAL_ERROR "What the voice-activity model is made of is missing. Run "
                        "third_party/fetch-voice-activity-model.sh first, or configure with "
                        "-DQUILLMERE_VAD_MODEL=FILE to use a finished ggml-silero-v5.1.2.bin.")
  endif()
  find_program(QUILLMERE_PYTHON NAMES python3 REQUIRED)
  add_custom_command(OUTPUT "${QUILLMERE_VAD_MODEL_FILE}"
    COMMAND "${QUILLMERE_PYTHON}" -B "${vad_model_maker}" "${vad_model_source}" "${QUILLMERE_VAD_MODEL_FILE}"
    DEPENDS "${vad_model_source}" "${vad_model_maker}" VERBATIM)
endif()

add_custom_target(quillmere_vad_model ALL DEPENDS "${QUILLMERE_VAD_MODEL_FILE}")
install(FILES "${QUILLMERE_VAD_MODEL_FILE}" DESTINATION ${CMAKE_INSTALL_DATADIR}/quillmere/models)

# A short recording of speech, public domain: the first run measures the speed of this machine with it. Without the
# engine's source it is left out, and nothing is measured.
set(speech_sample "${PROJECT_SOURCE_DIR}/third_party/src/whisper.cpp/samples/jfk.mp3")
if(EXISTS "${speech_sample}")
  configure_file("${speech_sample}" "${PROJECT_BINARY_DIR}/models/speech-sample.mp3" COPYONLY)
  install(FILES "${speech_sample}" DESTINATION ${CMAKE_INSTALL_DATADIR}/quillmere/models RENAME speech-sample.mp3)
endif()
