#include "storage/WordTokenizer.h"

#include <sqlite3.h>

#include <memory>
#include <new>

namespace quillmere {

namespace {

struct Range {
  char32_t first, last;
};
// Thai and Lao, Burmese, Khmer, kana, Han (with extensions and compatibility forms), half-width kana.
constexpr Range scriptsWithoutBlanks[] = {{0x0E00, 0x0EFF}, {0x1000, 0x109F}, {0x1780, 0x17FF},  {0x3005, 0x3007},
                                          {0x3040, 0x30FF}, {0x31F0, 0x31FF}, {0x3400, 0x4DBF},  {0x4E00, 0x9FFF},
                                          {0xF900, 0xFAFF}, {0xFF66, 0xFF9F}, {0x20000, 0x3FFFF}};

bool isWrittenWithoutBlanks(char32_t character) {
  for (const Range& range : scriptsWithoutBlanks)
    if (character >= range.first && character <= range.last) return true;
  return false;
}

// One character of valid or invalid UTF-8, and how many bytes it takes (at least one).
char32_t decode(const unsigned char* text, int available, int& length) {
  const unsigned char lead = text[0];
  length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length > available) length = available;
  char32_t character = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
  for (int i = 1; i < length; ++i) character = character << 6 | (text[i] & 0x3F);
  return character;
}

using TokenCallback = int (*)(void*, int, const char*, int, int, int);

struct Splitter {
  void* context;
  TokenCallback next;
};

int splitToken(void* context, int flags, const char* token, int size, int start, int end) {
  const auto& splitter = *static_cast<Splitter*>(context);
  const auto* bytes = reinterpret_cast<const unsigned char*>(token);
  int runStart = 0;
  for (int i = 0; i < size;) {
    int length = 0;
    const char32_t character = decode(bytes + i, size - i, length);
    if (isWrittenWithoutBlanks(character)) {
      if (runStart < i)
        if (int rc = splitter.next(splitter.context, flags, token + runStart, i - runStart, start, end)) return rc;
      if (int rc = splitter.next(splitter.context, flags, token + i, length, start, end)) return rc;
      runStart = i + length;
    }
    i += length;
  }
  if (runStart == size) return SQLITE_OK;
  return splitter.next(splitter.context, flags, token + runStart, size - runStart, start, end);
}

struct Tokenizer {
  fts5_tokenizer inner{};
  Fts5Tokenizer* instance = nullptr;
};

int createTokenizer(void* context, const char**, int, Fts5Tokenizer** out) {
  auto* api = static_cast<fts5_api*>(context);
  auto tokenizer = std::unique_ptr<Tokenizer>(new (std::nothrow) Tokenizer);
  if (!tokenizer) return SQLITE_NOMEM;
  void* innerContext = nullptr;
  if (int rc = api->xFindTokenizer(api, "unicode61", &innerContext, &tokenizer->inner)) return rc;
  const char* arguments[] = {"remove_diacritics", "2"};
  if (int rc = tokenizer->inner.xCreate(innerContext, arguments, 2, &tokenizer->instance)) return rc;
  *out = reinterpret_cast<Fts5Tokenizer*>(tokenizer.release());
  return SQLITE_OK;
}

void deleteTokenizer(Fts5Tokenizer* handle) {
  auto* tokenizer = reinterpret_cast<Tokenizer*>(handle);
  tokenizer->inner.xDelete(tokenizer->instance);
  delete tokenizer;
}

int tokenize(Fts5Tokenizer* handle, void* context, int flags, const char* text, int size, TokenCallback next) {
  auto* tokenizer = reinterpret_cast<Tokenizer*>(handle);
  Splitter splitter{context, next};
  return tokenizer->inner.xTokenize(tokenizer->instance, &splitter, flags, text, size, &splitToken);
}

}  // namespace

int registerWordTokenizer(sqlite3* database) {
  fts5_api* api = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (int rc = sqlite3_prepare_v2(database, "SELECT fts5(?1)", -1, &statement, nullptr)) return rc;
  sqlite3_bind_pointer(statement, 1, &api, "fts5_api_ptr", nullptr);
  sqlite3_step(statement);
  if (int rc = sqlite3_finalize(statement)) return rc;
  if (!api) return SQLITE_ERROR;
  fts5_tokenizer functions{&createTokenizer, &deleteTokenizer, &tokenize};
  return api->xCreateTokenizer(api, "quillmere_words", api, &functions, nullptr);
}

}  // namespace quillmere
