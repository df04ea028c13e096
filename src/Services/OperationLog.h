#pragma once

#include "Platform/FileDescriptor.h"

#include <QString>
#include <QUtf8StringView>

/// The file that keeps what one operation prints, from its beginning on: KIND-TIME.log in a folder of the
/// software, readable by the user only. The last ten of a kind are kept.
class OperationLog
{
public:
    /// Where the file stops growing, with a line that says so.
    static constexpr qint64 largestSize = 1024 * 1024 * 1024;

    /// `folder` holds the logs of all software; it is made where it is missing. `kind` is a word as in
    /// "install". One that cannot be written says so on standard error and keeps nothing.
    OperationLog(const QString &folder, const QString &softwareId, const QString &kind, qint64 limit = largestSize);

    void append(QUtf8StringView text);

    /// Empty when there is none.
    const QString &path() const { return m_path; }

private:
    void write(QUtf8StringView text);
    void giveUp(int error);

    QString m_path;
    FileDescriptor m_file;
    const qint64 m_limit;
    qint64 m_size = 0;
};
