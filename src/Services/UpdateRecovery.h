#pragma once

#include "Platform/FileError.h"

#include <QString>
#include <expected>
#include <optional>

/// Puts right an update whose swap of the bundles was broken off (see updateScript()). A record, written before
/// the swap, tells a whole bundle from one that was moved halfway: between file systems a move is a copy.
/// Interface thread only.
class UpdateRecovery
{
public:
    /// `recordFile` is the absolute path of the record, a JSON file that stands from before a swap until it is
    /// known to be over.
    explicit UpdateRecovery(QString recordFile);

    /// To be called before the swap of `newBundle` for `bundle`, both absolute. `newBundle` lies in a temporary
    /// folder of its own.
    std::expected<void, FileError> expectSwap(const QString &bundle, const QString &newBundle) const;

    /// To be called at start. Leaves one whole bundle at its path: the new one when it got there, else the old
    /// one, from its ".backup". Does nothing while a swap is under way. Gives the path of the bundle to be run in
    /// the place of `running`, none when that is the one.
    std::optional<QString> recover(const QString &running) const;

private:
    QString m_recordFile;
};
