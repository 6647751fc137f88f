#pragma once
#include <QNetworkReply>

#include "domain/Errors.h"

namespace quillmere {

// What Qt says of a failed request, as the application's web error. `detail` replaces Qt's own sentence where Qt knows
// less (the TLS layer's list of reasons). Network failures without a code of their own get the nearest one.
UrlError urlErrorOf(QNetworkReply::NetworkError error, const QString& host, const QString& detail);

}  // namespace quillmere
