#include "UpdateInstallation.h"

#include "DiskImageTool.h"
#include "Platform/AtomicFile.h"
#include "Platform/Bundle.h"
#include "Platform/FileHash.h"
#include "Platform/FolderCopy.h"
#include "Platform/ToolRun.h"
#include "UpdateScript.h"
#include "Utilities/Log.h"

#include <QCoreApplication>
#include <QDir>
#include <QThreadPool>
#include <QUuid>
#include <unistd.h>

namespace {

using Kind = UpdateError::Kind;

QString parentOf(const QString &path)
{
    return QFileInfo(path).absolutePath();
}

std::unexpected<UpdateError> other(const QString &reason)
{
    return std::unexpected(UpdateError::other(reason));
}

QString describeLock(std::error_code error)
{
    return error == std::errc::operation_would_block
        ? QStringLiteral("另一个 Vaelix 正在更新，请稍后再试")
        : QStringLiteral("无法开始更新：") + qt_error_string(error.value());
}

UpdateError unhashed(FileHashError error)
{
    return error == FileHashError::NotFound ? Kind::FileNotFound : Kind::FileReadError;
}

/// The first one, in the folder's own order, that could run.
std::optional<QString> findBundle(const QString &folder)
{
    const auto isBundle = [&](const QString &name) {
        const QString path = folder + u'/' + name;
        return name.endsWith(QLatin1String(".app")) && !QFileInfo(path).isSymLink() && Bundle::at(path).executable();
    };
    const QStringList names = QDir(folder).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Unsorted);
    const auto found = std::ranges::find_if(names, isBundle);
    return found == names.end() ? std::nullopt : std::optional(*found);
}

bool isWritable(const QString &folder)
{
    return ::access(QFile::encodeName(folder), W_OK) == 0;
}

} // namespace

QString UpdateInstallation::obstacle(const QString &bundle)
{
    const bool isPackaged =
        bundle.startsWith(QLatin1String("/usr/")) && !bundle.startsWith(QLatin1String("/usr/local/"));
    if (isPackaged || !isWritable(bundle) || !isWritable(parentOf(bundle)))
        return QStringLiteral("Vaelix 安装在当前用户不能改动的位置，请通过系统的软件包管理器升级。");
    if (!isFitForUpdateScript(bundle))
        return QStringLiteral("Vaelix 所在的路径含有特殊字符，请移到别处再更新：%1").arg(bundle);
    return {};
}

UpdateInstallation::UpdateInstallation(Environment environment, QString image, QString expectedHash,
                                       QString expectedVersion, ProgressHandler onProgress)
    : m_environment(std::move(environment))
    , m_image(std::move(image))
    , m_expectedHash(std::move(expectedHash))
    , m_expectedVersion(std::move(expectedVersion))
    , m_onProgress(std::move(onProgress))
{
}

QCoro::Task<UpdateInstallation::Outcome> UpdateInstallation::prepare()
{
    if (const QString reason = obstacle(m_environment.bundle); !reason.isEmpty())
        co_return other(reason);
    auto lock = m_environment.recovery.lock();
    if (!lock)
        co_return std::unexpected(UpdateError::other(describeLock(lock.error())));
    if (!m_expectedHash.isEmpty()) {
        report(QStringLiteral("正在验证安装包完整性..."));
        if (const auto verified = co_await verify(); !verified)
            co_return std::unexpected(verified.error());
        Log::line(QStringLiteral("✅ 更新包哈希验证通过"));
    }
    co_await removeQuarantine();
    if (const auto taken = co_await takeBundle(); !taken)
        co_return std::unexpected(taken.error());
    if (!hasRoomFor(m_newBundle, parentOf(m_environment.bundle)))
        co_return other(QStringLiteral("%1 所在的磁盘空间不足").arg(m_environment.bundle));
    if (const auto tried = co_await tryNewBundle(); !tried)
        co_return std::unexpected(tried.error());
    report(QStringLiteral("即将重启应用..."));
    Log::line(QStringLiteral("📍 当前应用路径: ") + m_environment.bundle);
    if (const auto written = co_await writeScript(); !written)
        co_return std::unexpected(written.error());
    co_return PreparedUpdate{scriptPath(), movesPath(), m_newBundle, m_folder,
                             std::make_shared<FileLock>(std::move(*lock))};
}

void UpdateInstallation::abandon() const
{
    QThreadPool::globalInstance()->waitForDone();
    if (!m_folder.path.isEmpty() && !m_folder.remove())
        Log::line(QStringLiteral("⚠️ 未删除更新的临时文件夹: ") + m_folder.path);
}

QCoro::Task<UpdateInstallation::Step> UpdateInstallation::verify() const
{
    const auto hash = co_await calculateSHA256(m_image, {});
    if (!hash)
        co_return std::unexpected(unhashed(hash.error()));
    if (hash->hexadecimal != m_expectedHash.toLower().toUtf8())
        co_return std::unexpected(UpdateError(Kind::HashMismatch));
    co_return Step();
}

QCoro::Task<> UpdateInstallation::removeQuarantine() const
{
    report(QStringLiteral("正在准备安装包..."));
    const QStringList arguments{QStringLiteral("-dr"), QStringLiteral("com.apple.quarantine"), m_image};
    co_await runTool(m_environment.attributeTool, arguments); // there is seldom one to remove, and seldom the tool
}

/// Before the image is attached, which may be unpacked into the folder too.
UpdateInstallation::Step UpdateInstallation::makeFolder()
{
    const auto folder = PrivateFolder::make(m_environment.temporaryFolder + QStringLiteral("/Vaelix_update_")
                                            + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    if (!folder)
        return other(folder.error().description);
    m_folder = *folder;
    const auto recorded = m_environment.recovery.expectUpdate(m_folder);
    return recorded ? Step() : other(recorded.error().description);
}

QCoro::Task<UpdateInstallation::Step> UpdateInstallation::takeBundle()
{
    report(QStringLiteral("正在挂载安装镜像..."));
    if (const auto made = makeFolder(); !made)
        co_return made;
    const DiskImageTool images(m_environment.diskImageTool, m_folder.path);
    const auto mounted = co_await images.attach(m_image);
    if (!mounted)
        co_return std::unexpected(mounted.error());
    Log::line(QStringLiteral("📦 DMG 已挂载到: ") + mounted->path);
    report(QStringLiteral("正在复制新版本..."));
    const auto copied = co_await copyBundle(mounted->path);
    const bool isForced = !copied;
    co_await images.detach(mounted->path, isForced);
    if (copied)
        Log::line(QStringLiteral("📦 DMG 已卸载"));
    co_return copied;
}

QCoro::Task<UpdateInstallation::Step> UpdateInstallation::copyBundle(QString mountPoint)
{
    // The file may have been another one by the time it was mounted.
    if (!m_expectedHash.isEmpty()) {
        if (const auto verified = co_await verify(); !verified)
            co_return std::unexpected(verified.error());
    }
    const auto name = findBundle(mountPoint);
    if (!name)
        co_return std::unexpected(UpdateError(Kind::NoAppFound));
    m_newBundle = m_folder.path + u'/' + *name;
    const auto copied = co_await copyFolder(mountPoint + u'/' + *name, m_newBundle);
    if (!copied)
        co_return other(copied.error().description);
    Log::line(QStringLiteral("📦 已复制 %1 到临时目录").arg(*name));
    co_return Step();
}

/// A program that cannot even tell its version here (libraries of a newer system, a damaged file) replaces nothing.
QCoro::Task<UpdateInstallation::Step> UpdateInstallation::tryNewBundle() const
{
    const QString program = Bundle::at(m_newBundle).executable().value_or(m_newBundle);
    const QStringList arguments{QStringLiteral("--version")};
    const ToolSettings settings{.timeLimit = m_environment.trialLimit};
    const auto run = co_await runTool(program, arguments, settings);
    if (!run)
        co_return other(QStringLiteral("新版本无法运行，当前版本未改动：") + run.error().description);
    if (run->exitCode != 0) {
        Log::line(QStringLiteral("⚠️ 新版本试运行失败: ") + run->errorOutput.toString());
        co_return other(QStringLiteral("新版本无法运行，当前版本未改动（退出状态 %1）").arg(run->exitCode));
    }
    const QString answer = run->output.toString().trimmed();
    if (answer != m_expectedVersion)
        co_return other(QStringLiteral("更新包中的程序不是 %1，当前版本未改动：%2").arg(m_expectedVersion, answer));
    co_return Step();
}

QCoro::Task<UpdateInstallation::Step> UpdateInstallation::writeScript() const
{
    if (!isFitForUpdateScript(m_newBundle))
        co_return other(QStringLiteral("更新包中的名称含有特殊字符"));
    const QByteArray script =
        updateScript(QCoreApplication::applicationPid(), m_newBundle, m_environment.bundle, m_folder.path);
    for (const auto &[path, content] : {std::pair(scriptPath(), script), std::pair(movesPath(), updateScriptMoves())})
        if (const auto written = writeAtomically(path, content); !written)
            co_return other(written.error().description);
    const QStringList arguments{QStringLiteral("+x"), scriptPath()};
    co_await runTool(m_environment.permissionTool, arguments);
    co_return Step();
}

void UpdateInstallation::report(const QString &step) const
{
    Log::line(QStringLiteral("🔄 ") + step);
    if (m_onProgress)
        m_onProgress(step);
}
