#pragma once

#include <QString>

/// The user's folders, absolute and without a trailing slash. Tests build their own under a
/// scratch folder.
struct Folders {
    QString home; ///< from the user database, whatever $HOME says
    QString applicationSupport; ///< $XDG_DATA_HOME or ~/.local/share
    QString configuration; ///< $XDG_CONFIG_HOME or ~/.config
    QString temporary;
    QString state; ///< $XDG_STATE_HOME or ~/.local/state

    /// Those of the user who runs the process, read once.
    static const Folders &user();

    /// All of them under `root`, which plays the home folder.
    static Folders under(const QString &root);
};
