#pragma once

#include "ServerState.h"

namespace devserver {

// The cloud model API, in the manner of OpenAI's. Requests carry the API key of an account as their bearer token;
// errors are an object "error" with "message", "type", "param" and "code".

/// GET /v1/models: lists the models.
Response answerModels(ServerState &state, const Request &request);

/// POST /v1/chat/completions: a sentence about the user's last message, the same one for the same message, whole or
/// as server-sent events. Its tokens are consumed from the account; when they do not suffice the status is 402.
Response answerChatCompletion(ServerState &state, const Request &request);

} // namespace devserver
