#include "Folders.h"

#include <QDir>
#include <QFile>
#include <pwd.h>
#include <unistd.h>

namespace {

QString passwdHome()
{
    const passwd *entry = ::getpwuid(::getuid());
    return entry && entry->pw_dir ? QFile::decodeName(entry->pw_dir) : QDir::homePath();
}

/// The folder an XDG variable names; relative values are invalid and ignored.
QString xdgFolder(const char *variable, const QString &fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : fallback;
}

} // namespace

const Folders &Folders::user()
{
    static const Folders folders = [] {
        const Folders defaults = under(passwdHome());
        return Folders{defaults.home, xdgFolder("XDG_DATA_HOME", defaults.applicationSupport),
                       xdgFolder("XDG_CONFIG_HOME", defaults.configuration), QDir::tempPath(),
                       xdgFolder("XDG_STATE_HOME", defaults.state)};
    }();
    return folders;
}

Folders Folders::under(const QString &root)
{
    return {root, root + QStringLiteral("/.local/share"), root + QStringLiteral("/.config"),
            root + QStringLiteral("/tmp"), root + QStringLiteral("/.local/state")};
}
