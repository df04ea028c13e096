#pragma once

#include "Platform/Bundle.h"
#include "Platform/Folders.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workspace.h"
#include "Services/APIService.h"
#include "Services/HermesService.h"
#include "Services/KeychainService.h"
#include "Services/OpenClawService.h"
#include "Services/ShellService.h"
#include "Services/SoftwareCatalogService.h"
#include "Services/SoftwareDetectionService.h"
#include "Services/SoftwareInstallService.h"
#include "Services/SoftwareMonitorService.h"
#include "Services/SoftwareStore.h"
#include "ViewModels/SoftwareListViewModel.h"

#include <QTemporaryDir>
#include <QTest>

/// A home folder of its own and the application's services wired to it, with a real zsh.
class Scratch
{
public:
    /// `serverOrigin` is the account server's; nothing listens on the default one.
    explicit Scratch(const QString &serverOrigin = QStringLiteral("http://127.0.0.1:9"));

    /// The absolute path of a file in the scratch home.
    QString path(const QString &relativePath) const { return home.filePath(relativePath); }
    /// Writes a file in the scratch home, its folders included.
    void write(const QString &relativePath, const QByteArray &content) const;
    /// The same for a script that may be run.
    void writeProgram(const QString &relativePath, const QByteArray &script) const;
    /// The file's content; empty when it cannot be read.
    QByteArray read(const QString &relativePath) const;
    /// Makes `entries` the catalog among the application's resources.
    void setCatalog(const SoftwareCatalog::Entries &entries) const;

    SoftwareListViewModel::Services services();

    QTemporaryDir home;
    const Folders folders;
    const Bundle bundle;
    UserDefaults defaults;
    ShellService shell;
    KeychainService keychain;
    APIService api;
    SoftwareCatalogService catalog;
    SoftwareStore store;
    SoftwareDetectionService detection;
    SoftwareMonitorService monitor;
    SoftwareInstallService installer;
    OpenClawService openClaw;
    HermesService hermes;
    Workspace workspace;
    QQBotConnectViewModel qqBotConnection;
    WeChatConnectViewModel weChatConnection;
};

/// An entry whose command lines do nothing, to be changed where a test needs it.
SoftwareCatalogEntry testEntry(const QString &id);

/// Open file descriptors of this process.
int openDescriptors();
/// Children of this process that have ended and were not reaped.
int zombies();
/// The arguments of a process and of those it started, as everybody on the machine can read them.
QByteArray visibleArguments(qint64 process);
/// The number of a process that has ended, and that no other has yet.
qint64 endedProcess();
