#pragma once

#include "SoftwareEnums.h"
#include "Utilities/JSONReader.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <optional>

/// A downloadable file attached to a catalog entry. JSON keys are snake case: "id", "file_type",
/// "original_name", "mime_type", "file_size", "description", "created_at".
struct SoftwareFile {
    QString id;
    QString fileType;
    QString originalName;
    std::optional<QString> mimeType;
    qint64 fileSize = 0; ///< bytes
    std::optional<QString> description;
    std::optional<QString> createdAt; ///< the server's timestamp, kept as text

    bool operator==(const SoftwareFile &) const = default;
};

/// What one piece of software is and the shell command lines that handle it; an empty line means
/// the operation is not offered. JSON keys are the field names.
struct SoftwareCatalogEntry {
    QString id;
    QString name;
    QString description;
    SoftwareCategory::Value category = SoftwareCategory::Tool;
    QString iconName; ///< symbol name
    QString iconURL; ///< address of an icon image, or a path on the account server
    QString installCommand;
    QString uninstallCommand;
    QString startCommand;
    QString stopCommand;
    QString detectCommand; ///< exit status 0 and some output mean installed
    QString configCommand;
    QString qqbotInstallCommand;
    QString weixinInstallCommand;
    QString version; ///< the newest version offered
    QString upgradeCommand;
    QString homepageURL;
    QStringList dependencies; ///< ids of other entries
    QList<SoftwareFile> files;

    bool operator==(const SoftwareCatalogEntry &) const = default;
};

/// The catalog's JSON form and its built-in entries. A catalog is a JSON array of entries; one that
/// does not decode fails the whole.
namespace SoftwareCatalog {

using Entries = QList<SoftwareCatalogEntry>;

/// The two entries that are always there. Neither can be installed.
const Entries &defaultCatalog();

Decoded<Entries> decodeEntries(JSONValue array);
Decoded<Entries> decode(QByteArrayView json);
QByteArray encode(const Entries &entries);

/// The first entry with that id; null when there is none. Valid as long as `entries` is unchanged.
const SoftwareCatalogEntry *find(const Entries &entries, const QString &id);

} // namespace SoftwareCatalog
