#pragma once

#include "Utilities/JSONReader.h"

/// The envelope of every answer of the account server: JSON keys "code" (0 means success), "message"
/// and "data", which may be absent or null.
template<typename T> struct APIResponse {
    qint64 code = 0;
    QString message;
    std::optional<T> data;
};

/// `decodeData`, a callable from JSONValue to Decoded<T>, reads the envelope's data.
template<typename Decode, typename T = typename std::invoke_result_t<Decode, JSONValue>::value_type>
Decoded<APIResponse<T>> decodeAPIResponse(QByteArrayView json, Decode decodeData)
{
    return decodeJSON(json, [&decodeData](JSONValue value) {
        JSONReader reader(value);
        return reader.result(APIResponse<T>{
            .code = reader.integer("code"),
            .message = reader.text("message"),
            .data = reader.optionalValue("data", decodeData),
        });
    });
}
