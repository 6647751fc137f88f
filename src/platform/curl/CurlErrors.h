#pragma once
#include <curl/curl.h>

#include "domain/Errors.h"

namespace quillmere {

// What libcurl says of a failed transfer, as the application's web error. `verifyResult` is OpenSSL's number for why a
// certificate was refused, `detail` libcurl's own sentence.
UrlError urlErrorOf(CURLcode code, long verifyResult, const QString& host, const QString& detail);

}  // namespace quillmere
