#include "UpdateRecovery.h"

#include "Platform/AtomicFile.h"
#include "Platform/FolderContent.h"
#include "Platform/FolderCopy.h"
#include "Utilities/JSONReader.h"
#include "Utilities/Log.h"

#include <QCoroFuture>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrentRun>
#include <nlohmann/json.hpp>

using namespace std::chrono_literals;

namespace {

using JSON = nlohmann::ordered_json;
using Outcome = UpdateRecovery::Outcome;
using Written = std::expected<void, FileError>;

constexpr auto patience = 3000ms; // a script that has opened the new bundle is as good as over

struct Swap {
    QString bundle;
    FolderExtent oldExtent;
    FolderExtent newExtent;
    FolderDigest newFiles;

    QString backup() const { return bundle + QStringLiteral(".backup"); }
    QString incomplete() const { return bundle + QStringLiteral(".incomplete"); }
    /// Where a plain `mv` puts the backup when there is a folder at the bundle's path.
    QString misplacedBackup() const { return bundle + u'/' + QFileInfo(backup()).fileName(); }
};

struct Record {
    std::optional<PrivateFolder> temporaryFolder;
    std::optional<Swap> swap; ///< none before it
};

JSON encode(const PrivateFolder &folder)
{
    return {{"path", folder.path.toStdString()},
            {"device", qint64(folder.identity.device)},
            {"inode", qint64(folder.identity.inode)}};
}

Decoded<PrivateFolder> decodeFolder(JSONValue value)
{
    JSONReader json(value);
    return json.result(PrivateFolder{
        .path = json.text("path"),
        .identity = {.device = quint64(json.integer("device")), .inode = quint64(json.integer("inode"))},
    });
}

JSON encode(const FolderExtent &extent)
{
    return {{"files", extent.files}, {"bytes", extent.bytes}};
}

Decoded<FolderExtent> decodeExtent(JSONValue value)
{
    JSONReader json(value);
    return json.result(FolderExtent{.files = json.integer("files"), .bytes = json.integer("bytes")});
}

JSON encode(const FolderDigest &files)
{
    JSON object = JSON::object();
    for (auto file = files.begin(); file != files.end(); ++file)
        object[file.key().toStdString()] = {{"bytes", file->bytes}, {"hash", file->hash.toStdString()}};
    return object;
}

Decoded<FileDigest> decodeFile(JSONValue value)
{
    JSONReader json(value);
    return json.result(FileDigest{.bytes = json.integer("bytes"), .hash = json.text("hash").toLatin1()});
}

Decoded<FolderDigest> decodeFiles(JSONValue value)
{
    return decodeMap(value, decodeFile);
}

JSON encode(const Swap &swap)
{
    return {{"bundle", swap.bundle.toStdString()},
            {"old", encode(swap.oldExtent)},
            {"new", encode(swap.newExtent)},
            {"new_files", encode(swap.newFiles)}};
}

Decoded<Swap> decodeSwap(JSONValue value)
{
    JSONReader json(value);
    return json.result(Swap{
        .bundle = json.text("bundle"),
        .oldExtent = json.value("old", decodeExtent),
        .newExtent = json.value("new", decodeExtent),
        .newFiles = json.value("new_files", decodeFiles),
    });
}

Decoded<Record> decodeRecord(JSONValue value)
{
    JSONReader json(value);
    return json.result(Record{
        .temporaryFolder = json.optionalValue("temporary_folder", decodeFolder),
        .swap = json.optionalValue("swap", decodeSwap),
    });
}

std::optional<Record> readRecord(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto record = decodeJSON(file.readAll(), decodeRecord);
    return record ? std::optional(*record) : std::nullopt;
}

Written write(const QString &path, const JSON &record)
{
    return writeAtomically(path, QByteArray::fromStdString(record.dump(2)));
}

/// Reads both bundles whole.
std::optional<Swap> describeSwap(const QString &bundle, const QString &newBundle)
{
    const auto oldExtent = extentOf(bundle);
    const auto newExtent = extentOf(newBundle);
    const auto newFiles = digestOf(newBundle);
    if (!oldExtent || !newExtent || !newFiles)
        return {};
    return Swap{.bundle = bundle, .oldExtent = *oldExtent, .newExtent = *newExtent, .newFiles = *newFiles};
}

void removeTemporaryFolder(const Record &record)
{
    const auto &folder = record.temporaryFolder;
    if (folder && QFileInfo::exists(folder->path) && !folder->remove())
        Log::line(QStringLiteral("⚠️ 未删除更新的临时文件夹: ") + folder->path);
}

/// Whether nothing is left that a broken copy of the new bundle could be told from.
bool removeIncomplete(const Swap &swap)
{
    return isPartOf(swap.incomplete(), swap.newFiles) && removeFolder(swap.incomplete());
}

/// Whether the old bundle is at the place for it.
bool findBackup(const Swap &swap)
{
    if (extentOf(swap.misplacedBackup()) == swap.oldExtent && !QFileInfo::exists(swap.backup()))
        QDir().rename(swap.misplacedBackup(), swap.backup());
    return extentOf(swap.backup()) == swap.oldExtent;
}

/// What has become of a swap.
struct Settlement {
    bool isOver = false; ///< nothing is left to do for it
    Outcome outcome;
};

Settlement failed(const QString &reason)
{
    Log::line(QStringLiteral("❌ ") + reason);
    return {.outcome = {{}, reason}};
}

/// Goes on as the whole bundle at its path.
Settlement keep(const Swap &swap, const QString &running, bool isNew)
{
    // The old one is given up only for one that a loss of power leaves.
    const bool isOver = !isNew || (flushDisk(swap.bundle) && removeFolder(swap.backup()));
    removeIncomplete(swap);
    return {isOver, {running == swap.bundle ? std::nullopt : std::optional(swap.bundle), {}}};
}

/// Puts the old bundle back in the place of what there is of the new one.
Settlement restore(const Swap &swap)
{
    const bool isClear =
        removeIncomplete(swap) && (!QFileInfo::exists(swap.bundle) || QDir().rename(swap.bundle, swap.incomplete()));
    if (!isClear || !QDir().rename(swap.backup(), swap.bundle))
        return failed(QStringLiteral("更新中断，旧版本无法恢复到原处，仍在 %1").arg(swap.backup()));
    removeIncomplete(swap);
    Log::line(QStringLiteral("🔄 更新中断，已恢复旧版本: ") + swap.bundle);
    return {true, {swap.bundle, {}}};
}

Settlement settle(const Swap &swap, const QString &running)
{
    const bool hasBackup = findBackup(swap);
    const auto extent = extentOf(swap.bundle);
    const bool isNew = extent == swap.newExtent;
    if (isNew || extent == swap.oldExtent)
        return keep(swap, running, isNew);
    if (!isPartOf(swap.bundle, swap.newFiles))
        return {.isOver = running == swap.bundle}; // somebody has put it there since
    return hasBackup ? restore(swap) : failed(QStringLiteral("更新中断，旧版本不完整，请重新安装 Vaelix"));
}

bool isInvolved(const QString &running, const Swap &swap)
{
    return running == swap.bundle || running == swap.backup() || running == swap.misplacedBackup();
}

QString describeLock(std::error_code error)
{
    return error == std::errc::operation_would_block
        ? QStringLiteral("另一个 Vaelix 正在更新，上次更新的结果留待下次启动时检查")
        : QStringLiteral("无法检查上次的更新：") + qt_error_string(error.value());
}

} // namespace

UpdateRecovery::UpdateRecovery(QString folder)
    : m_folder(std::move(folder))
{
}

std::expected<FileLock, std::error_code> UpdateRecovery::lock() const
{
    return FileLock::take(lockFile());
}

Written UpdateRecovery::expectUpdate(const PrivateFolder &temporaryFolder) const
{
    if (const auto former = readRecord(recordFile()))
        removeTemporaryFolder(*former);
    return write(recordFile(), {{"temporary_folder", encode(temporaryFolder)}});
}

QCoro::Task<Written> UpdateRecovery::expectSwap(QString bundle, QString newBundle, PrivateFolder temporaryFolder) const
{
    const QString path = recordFile();
    const auto swap = co_await QtConcurrent::run(describeSwap, bundle, newBundle);
    if (!swap)
        co_return std::unexpected(FileError{QStringLiteral("无法读取 %1 或 %2").arg(bundle, newBundle)});
    co_return write(path, {{"temporary_folder", encode(temporaryFolder)}, {"swap", encode(*swap)}});
}

Outcome UpdateRecovery::recover(const QString &running) const
{
    if (!readRecord(recordFile()))
        return {};
    const auto lock = FileLock::take(lockFile(), patience);
    if (!lock)
        return failed(describeLock(lock.error())).outcome;
    const auto record = readRecord(recordFile()); // whoever held the lock may have settled it
    if (!record || (record->swap && !isInvolved(running, *record->swap)))
        return {};
    const Settlement settlement = record->swap ? settle(*record->swap, running) : Settlement{.isOver = true};
    if (settlement.isOver) {
        removeTemporaryFolder(*record);
        QFile::remove(recordFile());
    }
    return settlement.outcome;
}
