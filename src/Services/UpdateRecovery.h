#pragma once

#include "Platform/FileLock.h"
#include "Platform/PrivateFolder.h"

#include <QCoroTask>
#include <QString>
#include <expected>
#include <optional>

/// Puts right an update that was broken off, in its preparation or while the bundles were swapped (see
/// updateScript()). A record, written before either, tells what belongs to the update: the temporary folder by its
/// identity, the bundles by what they hold. Interface thread only.
class UpdateRecovery
{
public:
    struct Outcome {
        /// The path of the bundle to be run in the place of the running one; none when that is the one.
        std::optional<QString> bundle;
        QString notice; ///< a Chinese sentence for the user; empty when there is nothing to say
    };

    /// `folder` is the absolute path of the user's folder for the record and for the lock on it.
    explicit UpdateRecovery(QString folder);

    /// Whoever prepares, swaps or recovers holds it meanwhile. Does not wait.
    std::expected<FileLock, std::error_code> lock() const;

    /// To be called with the lock held, before anything is put into the temporary folder. Removes what an update
    /// before left in its own.
    std::expected<void, FileError> expectUpdate(const PrivateFolder &temporaryFolder) const;

    /// To be called with the lock held, before the swap of `newBundle` for `bundle`, both absolute. Reads both on a
    /// worker thread.
    QCoro::Task<std::expected<void, FileError>> expectSwap(QString bundle, QString newBundle,
                                                           PrivateFolder temporaryFolder) const;

    /// To be called at start. Leaves one whole bundle at its path: the new one when it got there, else the old
    /// one, from its ".backup"; one that belongs to neither was put there since, and stays. Waits up to three seconds
    /// for an update under way, and does nothing while it goes on.
    Outcome recover(const QString &running) const;

private:
    QString recordFile() const { return m_folder + QStringLiteral("/swap.json"); }
    QString lockFile() const { return m_folder + QStringLiteral("/swap.lock"); }

    QString m_folder;
};
