#pragma once

#include <QString>

/// A disk in memory, mounted on a folder as long as this lives. Only this process and its children see it.
class SmallDisk
{
public:
    /// To be called first in main(), while the process has one thread: what it mounts from then on is its own.
    static void keepMountsPrivate();

    /// `options` are further mount options of a tmpfs.
    SmallDisk(const QString &folder, int bytes, const QByteArray &options = {});
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk();

    /// Leaves no room for a single byte.
    void fill() const;
    /// Gives back what fill() took.
    void clear() const;

private:
    QByteArray filler() const { return m_folder + "/filler"; }

    const QByteArray m_folder;
};
