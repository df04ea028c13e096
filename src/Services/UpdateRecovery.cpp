#include "UpdateRecovery.h"

#include "Platform/AtomicFile.h"
#include "Platform/FolderContent.h"
#include "Platform/FolderLock.h"
#include "Utilities/JSONReader.h"
#include "Utilities/Log.h"

#include <QDir>
#include <QFile>
#include <nlohmann/json.hpp>

namespace {

using JSON = nlohmann::ordered_json;

struct Swap {
    QString bundle;
    QString temporaryFolder; // holds the new bundle until it is moved
    FolderExtent oldExtent;
    FolderExtent newExtent;

    QString backup() const { return bundle + QStringLiteral(".backup"); }
};

JSON encode(const FolderExtent &extent)
{
    return {{"files", extent.files}, {"bytes", extent.bytes}};
}

Decoded<FolderExtent> decodeExtent(JSONValue value)
{
    JSONReader json(value);
    return json.result(FolderExtent{.files = json.integer("files"), .bytes = json.integer("bytes")});
}

Decoded<Swap> decodeSwap(JSONValue value)
{
    JSONReader json(value);
    return json.result(Swap{
        .bundle = json.text("bundle"),
        .temporaryFolder = json.text("temporary_folder"),
        .oldExtent = json.value("old", decodeExtent),
        .newExtent = json.value("new", decodeExtent),
    });
}

std::optional<Swap> readSwap(const QString &recordFile)
{
    QFile file(recordFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto swap = decodeJSON(file.readAll(), decodeSwap);
    return swap ? std::optional(*swap) : std::nullopt;
}

/// Whether the old bundle is back at its path.
bool restore(const Swap &swap)
{
    const QString incomplete = swap.bundle + QStringLiteral(".incomplete");
    QDir(incomplete).removeRecursively();
    QDir().rename(swap.bundle, incomplete); // there may be none
    const bool isBack = QDir().rename(swap.backup(), swap.bundle);
    QDir(incomplete).removeRecursively();
    Log::line(isBack ? QStringLiteral("🔄 更新中断，已恢复旧版本: ") + swap.bundle
                     : QStringLiteral("❌ 更新中断，无法恢复旧版本: ") + swap.backup());
    return isBack;
}

} // namespace

UpdateRecovery::UpdateRecovery(QString recordFile)
    : m_recordFile(std::move(recordFile))
{
}

std::expected<void, FileError> UpdateRecovery::expectSwap(const QString &bundle, const QString &newBundle) const
{
    const JSON record{{"bundle", bundle.toStdString()},
                      {"temporary_folder", QFileInfo(newBundle).absolutePath().toStdString()},
                      {"old", encode(extentOf(bundle).value_or(FolderExtent()))},
                      {"new", encode(extentOf(newBundle).value_or(FolderExtent()))}};
    return writeAtomically(m_recordFile, QByteArray::fromStdString(record.dump(2)));
}

std::optional<QString> UpdateRecovery::recover(const QString &running) const
{
    const auto swap = readSwap(m_recordFile);
    if (!swap || (running != swap->bundle && running != swap->backup()))
        return {};
    const auto lock = FolderLock::take(QFileInfo(swap->bundle).absolutePath());
    if (!lock)
        return {};
    const auto extent = extentOf(swap->bundle);
    const bool isWhole = extent == swap->newExtent || extent == swap->oldExtent;
    if (!isWhole && (extentOf(swap->backup()) != swap->oldExtent || !restore(*swap)))
        return {};
    if (extent == swap->newExtent)
        QDir(swap->backup()).removeRecursively();
    QDir(swap->temporaryFolder).removeRecursively();
    QFile::remove(m_recordFile);
    const bool isRunning = isWhole && running == swap->bundle;
    return isRunning ? std::nullopt : std::optional(swap->bundle);
}
