#include "VerifyResponse.h"

namespace {

Decoded<VerifyData> decodeVerifyData(JSONValue value)
{
    JSONReader json(value);
    return json.result(VerifyData{.userId = json.text("userId"), .role = json.text("role")});
}

} // namespace

Decoded<VerifyResponse> decodeVerifyResponse(JSONValue value)
{
    JSONReader json(value);
    return json.result(
        VerifyResponse{.code = json.integer("code"), .data = json.optionalValue("data", decodeVerifyData)});
}
