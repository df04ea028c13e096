#pragma once

#include <QString>

/// Why an update was not installed.
class UpdateError
{
public:
    enum class Kind {
        HashMismatch, ///< the disk image is not the one that was announced
        ExtractFailed,
        NoAppFound,
        FileNotFound, ///< the image, or an address for it
        FileReadError,
        Other, ///< tells its own reason
    };

    UpdateError(Kind kind) // NOLINT(google-explicit-constructor): each kind is an error
        : m_kind(kind)
    {
    }
    /// `reason` is a Chinese sentence.
    static UpdateError other(const QString &reason);

    Kind kind() const { return m_kind; }
    /// The sentence the user sees.
    QString description() const;

private:
    Kind m_kind;
    QString m_reason;
};
