#pragma once

struct sqlite3;

namespace quillmere {

// Registers the full-text tokenizer "quillmere_words" on a connection; gives the SQLite code. It is unicode61 without
// diacritics, except that scripts written without blanks (Chinese, Japanese, Thai, ...) become one word a character, so
// that a query for a piece of such a text is a search for a phrase.
int registerWordTokenizer(sqlite3* database);

}  // namespace quillmere
