#include "Scratch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

/// One without a terminal, until a test puts one into ~/terminals.
QProcessEnvironment workspaceEnvironment(const QString &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), home + QStringLiteral("/terminals"));
    environment.insert(QStringLiteral("HOME"), home);
    environment.remove(QStringLiteral("TERMINAL"));
    return environment;
}

} // namespace

Scratch::Scratch(const QString &serverOrigin)
    : folders(Folders::under(home.path()))
    , bundle(path(QStringLiteral("Contents")))
    , defaults(folders.configuration + QStringLiteral("/com.vaelix.app.json"))
    , shell(home.path(), QStringLiteral(VAELIX_SOURCE_DIR "/resources/zsh"))
    , keychain(QStringLiteral("com.vaelix.test.") + QFileInfo(home.path()).fileName())
    , api(serverOrigin + QStringLiteral("/api/v1"), keychain)
    , catalog(api, bundle)
    , store(defaults)
    , detection(shell)
    , monitor(shell)
    , installer(shell, detection)
    , openClaw(folders)
    , hermes(folders)
    , workspace(workspaceEnvironment(home.path()))
    , qqBotConnection(shell)
    , weChatConnection(shell, api.baseURL())
{
}

void Scratch::write(const QString &relativePath, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(path(relativePath)).path());
    QFile file(path(relativePath));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void Scratch::writeProgram(const QString &relativePath, const QByteArray &script) const
{
    write(relativePath, script);
    QVERIFY(QFile::setPermissions(path(relativePath), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QByteArray Scratch::read(const QString &relativePath) const
{
    QFile file(path(relativePath));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Scratch::setCatalog(const SoftwareCatalog::Entries &entries) const
{
    write(QStringLiteral("Contents/Resources/SoftwareCatalog.json"), SoftwareCatalog::encode(entries));
}

SoftwareListViewModel::Services Scratch::services()
{
    return {catalog, store,    detection, monitor,   installer,       keychain,        defaults,
            folders, openClaw, hermes,    workspace, qqBotConnection, weChatConnection};
}

SoftwareCatalogEntry testEntry(const QString &id)
{
    return {.id = id,
            .name = id.toUpper(),
            .description = QStringLiteral("供测试的软件 ") + id,
            .category = SoftwareCategory::Tool,
            .iconName = QStringLiteral("cpu"),
            .homepageURL = QStringLiteral("https://") + id + QStringLiteral(".example")};
}

int openDescriptors()
{
    using std::filesystem::directory_iterator;
    return int(std::distance(directory_iterator("/proc/self/fd"), directory_iterator()));
}

int zombies()
{
    std::ifstream children("/proc/self/task/" + std::to_string(::getpid()) + "/children");
    int count = 0;
    for (std::string pid; children >> pid;) {
        std::ifstream file("/proc/" + pid + "/stat");
        std::stringstream stat;
        stat << file.rdbuf();
        count += stat.str().find(") Z ") != std::string::npos;
    }
    return count;
}

QByteArray visibleArguments(qint64 process)
{
    const auto contentOf = [process](const QString &name) {
        QFile file(QStringLiteral("/proc/%1/").arg(process) + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    QByteArray arguments = contentOf(QStringLiteral("cmdline"));
    for (const QByteArray &child : contentOf(QStringLiteral("task/%1/children").arg(process)).split(' '))
        if (!child.isEmpty())
            arguments += visibleArguments(child.toLongLong());
    return arguments;
}

qint64 endedProcess()
{
    QProcess process;
    process.start(QStringLiteral("/bin/true"), {});
    const qint64 identifier = process.processId();
    process.waitForFinished();
    return identifier;
}
