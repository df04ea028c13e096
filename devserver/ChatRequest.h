#pragma once

#include "HTTPMessage.h"

#include <expected>
#include <span>

namespace devserver {

/// Why the cloud model API refuses a request, as its error object says it.
struct APIRefusal {
    int status;
    const char *type;
    const char *code; // may be null
    const char *parameter; // may be null
    QString message;
};

/// What the body of a chat completion asks for. Everything else in it, the tools' definitions for example, is
/// accepted and not used.
struct ChatRequest {
    QString model;
    QString question; // the text of the last message of the user; may be empty
    qint64 promptTokens = 0;
    bool isStreamed = false;
    bool asksForUsage = false; // as a chunk of its own
};

/// The ids of the models that there are.
std::span<const char *const> modelNames();

/// A simple count: one token for each character outside ASCII, and one for every four begun characters inside.
qint64 tokenCount(const QString &text);

/// The prompt's tokens are those of every message's text, and four more for each message.
std::expected<ChatRequest, APIRefusal> readChatRequest(const QByteArray &body);

} // namespace devserver
