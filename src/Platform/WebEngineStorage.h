#pragma once

#include <QString>

/// What Qt WebEngine keeps on the disk below a folder of the application: nothing now, but earlier
/// versions kept cookies and a cache there, with the addresses that end a login.
namespace WebEngineStorage {

/// Removes it from the application's own data and cache folders.
void remove();
/// Removes it from the application folder; follows no link.
void removeFrom(const QString &applicationFolder);

} // namespace WebEngineStorage
