#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// What "~/.openclaw/config.json" tells OpenClaw. It is only ever written, never read back.
struct OpenClawConfig {
    qint64 port = 8080;
    QString modelPath; ///< of the model to load; empty for none

    /// Compact JSON with the keys "port" and "modelPath", in this order, and slashes escaped.
    QByteArray toJSON() const;

    /// A port as it is typed: digits, after a sign or none.
    static std::optional<qint64> portFromText(QStringView text);
};
