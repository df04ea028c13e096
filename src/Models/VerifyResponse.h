#pragma once

#include "Utilities/JSONReader.h"

struct VerifyData {
    QString userId;
    QString role;
};

/// The answer of the verify endpoint.
struct VerifyResponse {
    qint64 code = 0; ///< 0 while the token is good
    std::optional<VerifyData> data;
};

Decoded<VerifyResponse> decodeVerifyResponse(JSONValue value);
