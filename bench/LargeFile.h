#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// A file of so many MiB in a folder of its own, gone with this object. It is on the disk, and in the page cache.
class LargeFile
{
public:
    explicit LargeFile(int mebibytes);

    QString path() const { return m_folder.filePath(QStringLiteral("image")); }
    /// A file beside it, gone with it.
    QString pathBeside(const QString &name) const { return m_folder.filePath(name); }
    /// Leaves nothing of it in the page cache.
    void evict() const;

private:
    const QTemporaryDir m_folder;
};

/// A process that serves the file over HTTP, and ends with this object.
class FileServer
{
public:
    explicit FileServer(const LargeFile &file);
    ~FileServer();

    /// Any address behind it is the file's.
    QString origin() const { return m_origin; }

private:
    QProcess m_process;
    QString m_origin;
};
