#pragma once

#include <QString>
#include <QUrl>
#include <expected>
#include <optional>

/// What the address that ends a login brings in its query: "token", "user_id" and optionally
/// "api_key", "display_name" and "state". Anybody can make such an address.
struct LoginCallback {
    enum class Fault {
        Incomplete, ///< no token or no user id
        Unacceptable, ///< a value holds a character that no real one does
    };

    QString token;
    QString userId;
    std::optional<QString> apiKey;
    std::optional<QString> displayName;
    QString state; ///< empty when none came

    /// Of items with the same name the first counts; one without a value, or whose value is not UTF-8,
    /// counts as absent. Token, user id and key are printable ASCII without quotes, backslash, dollar
    /// sign, backtick and space; a display name is any text without characters that control how text runs.
    static std::expected<LoginCallback, Fault> read(const QUrl &url);
};
