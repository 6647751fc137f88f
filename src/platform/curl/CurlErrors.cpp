#include "platform/curl/CurlErrors.h"

namespace quillmere {
namespace {

constexpr auto unknown = UrlError::Code(-1);

// OpenSSL's numbers (X509_V_ERR_...).
UrlError::Code certificateCode(long verifyResult) {
  switch (verifyResult) {
    case 9:
      return UrlError::certificateNotYetValid;
    case 10:
      return UrlError::certificateOutOfDate;
    case 2:   // no issuer
    case 18:  // signed by itself
    case 19:
    case 20:
    case 21:
      return UrlError::certificateOfUnknownAuthority;
    default:
      return UrlError::certificateUntrusted;
  }
}

}  // namespace

UrlError urlErrorOf(CURLcode code, long verifyResult, const QString& host, const QString& detail) {
  switch (code) {
    case CURLE_URL_MALFORMAT:
      return urlError(UrlError::badUrl);
    case CURLE_OPERATION_TIMEDOUT:
      return urlError(UrlError::timedOut);
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return urlError(UrlError::cannotFindHost);
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
      return urlError(UrlError::cannotConnectToHost);
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_SEND_FAIL_REWIND:
      return urlError(UrlError::networkConnectionLost);
    case CURLE_OUT_OF_MEMORY:  // of a line of the head that never ends
      return urlError(UrlError::answerTooLarge, host);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
      return urlError(UrlError::secureConnectionFailed, host, detail);
    case CURLE_PEER_FAILED_VERIFICATION:
      return urlError(certificateCode(verifyResult), host, detail);
    case CURLE_UNSUPPORTED_PROTOCOL:  // the answer is not HTTP
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_FUNCTION_ARGUMENT:
      return urlError(UrlError::badServerResponse);
    default:
      return urlError(unknown, host, detail);
  }
}

}  // namespace quillmere
