// Running operations on software; what builds and shows the list is in SoftwareListViewModel.cpp,
// and what only the agents can do in SoftwareListViewModelAgents.cpp.
#include "SoftwareListViewModel.h"

#include "Platform/Folders.h"
#include "Services/OperationLog.h"
#include "Services/SoftwareStore.h"

#include <QCoroTimer>
#include <QDeadlineTimer>

using namespace std::chrono_literals;

namespace {

// What else a status reported by the install service changes.

void rememberInstallation(AISoftware &software)
{
    if (software.status() == SoftwareStatus::Installed)
        software.setInstalledAt(QDateTime::currentDateTime());
}

void takeOfferedVersion(AISoftware &software)
{
    if (software.status() == SoftwareStatus::Installed)
        software.setVersion(software.latestVersion);
}

void forgetInstallation(AISoftware &software)
{
    if (software.status() == SoftwareStatus::NotInstalled)
        software.setInstalledAt({});
}

} // namespace

const SoftwareListViewModel::OperationKind SoftwareListViewModel::installKind{QStringLiteral("install"),
                                                                              QStringLiteral("安装")};
const SoftwareListViewModel::OperationKind SoftwareListViewModel::upgradeKind{QStringLiteral("upgrade"),
                                                                              QStringLiteral("升级")};
const SoftwareListViewModel::OperationKind SoftwareListViewModel::uninstallKind{QStringLiteral("uninstall"),
                                                                                QStringLiteral("卸载")};
const SoftwareListViewModel::OperationKind SoftwareListViewModel::startKind{QStringLiteral("start"),
                                                                            QStringLiteral("启动")};
const SoftwareListViewModel::OperationKind SoftwareListViewModel::stopKind{QStringLiteral("stop"),
                                                                           QStringLiteral("停止")};
const SoftwareListViewModel::OperationKind SoftwareListViewModel::configureKind{QStringLiteral("configure"),
                                                                                QStringLiteral("配置")};

QCoro::Task<> SoftwareListViewModel::install(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    co_await operate(target, installKind, &SoftwareInstallService::install, rememberInstallation);
    if (self)
        co_await finishInstall(target);
}

QCoro::Task<> SoftwareListViewModel::upgrade(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    co_await operate(target, upgradeKind, &SoftwareInstallService::upgrade, takeOfferedVersion);
    if (self)
        co_await finishInstall(target);
}

QCoro::Task<> SoftwareListViewModel::uninstall(AISoftware *software)
{
    const QPointer self(this);
    const QString id = software->id();
    co_await operate(software, uninstallKind, &SoftwareInstallService::uninstall, forgetInstallation);
    if (!self)
        co_return;
    checkConfigStatus();
    forgetConnections(id);
}

QCoro::Task<> SoftwareListViewModel::operate(SoftwarePointer software, OperationKind kind, Operation operation,
                                             StatusRule rule)
{
    const QPointer self(this);
    const int number = beginOperation();
    const auto lock = co_await takeProgram(software->id(), kind.verb);
    if (!self)
        co_return;
    if (!lock || !software || !isCurrent(number)) {
        endOperation(number);
        co_return;
    }
    setErrorMessage({}); // of a cancelled operation that had the program until now
    const SoftwareInstallService::StatusHandler onStatusChange = [self, software, number,
                                                                  rule](SoftwareStatus::Value status) {
        if (!self || !software || !self->isCurrent(number))
            return;
        software->setStatus(status);
        rule(*software);
        self->m_services.store.save(*software);
    };
    const OutputHandler onOutput = outputHandler(software->id(), kind.name);
    // Called apart from the co_await, inside which g++ 12 takes a wrong object for a member pointer.
    const auto running =
        std::invoke(operation, m_services.installer, software->id(), m_catalog, onOutput, onStatusChange);
    const auto outcome = co_await running;
    if (!self)
        co_return;
    if (!outcome)
        setErrorMessage(outcome.error().description());
    endOperation(number);
}

QCoro::Task<> SoftwareListViewModel::finishInstall(SoftwarePointer software)
{
    const QPointer self(this);
    if (!software || software->status() != SoftwareStatus::Installed)
        co_return;
    co_await detectLocalVersions();
    if (!self || !software || software->id() != QLatin1String("openclaw")
        || software->status() != SoftwareStatus::Installed || !m_errorMessage.isEmpty())
        co_return;
    const auto discard = [](QUtf8StringView) { };
    co_await m_services.installer.shell().runWithStreaming(
        QStringLiteral("pkill -f openclaw-gateway 2>/dev/null; pkill -x openclaw 2>/dev/null; sleep 1"), discard);
    if (self && software)
        co_await openChat(software);
}

QCoro::Task<> SoftwareListViewModel::start(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    const auto lock = co_await takeProgram(target->id(), startKind.verb);
    if (!self || !target || !lock)
        co_return;
    m_terminalOutput.clear();
    const auto isFailed = std::make_shared<bool>(false);
    const auto onFailure = [self, isFailed](const InstallError &error) {
        *isFailed = true;
        if (self)
            self->setErrorMessage(error.description());
    };
    const auto outcome =
        m_services.installer.start(target->id(), m_catalog, outputHandler(target->id(), startKind.name), onFailure);
    if (!outcome)
        onFailure(outcome.error());
    if (*isFailed)
        co_return;
    // The program needs a moment before it can be called running.
    QTimer pause;
    pause.setSingleShot(true);
    pause.start(2s);
    co_await pause;
    if (!self || !target || *isFailed)
        co_return;
    target->setStatus(SoftwareStatus::Running);
    m_services.store.save(*target);
}

QCoro::Task<> SoftwareListViewModel::stop(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    const auto lock = co_await takeProgram(target->id(), stopKind.verb);
    if (!self || !target || !lock)
        co_return;
    m_terminalOutput.clear();
    const auto outcome =
        co_await m_services.installer.stop(target->id(), m_catalog, outputHandler(target->id(), stopKind.name));
    if (!self || !target)
        co_return;
    if (!outcome) {
        setErrorMessage(outcome.error().description());
        co_return;
    }
    target->setStatus(SoftwareStatus::Stopped);
    m_services.store.save(*target);
}

QCoro::Task<std::optional<OperationLock>> SoftwareListViewModel::takeProgram(QString softwareId, QString verb)
{
    const QPointer self(this);
    const QString folder = m_services.folders.state + QStringLiteral("/vaelix/locks");
    // An operation of ours that was cancelled holds the program until its processes have ended.
    const QDeadlineTimer patience(2s);
    while (self) {
        const AISoftware *const listed = software(softwareId);
        auto lock = OperationLock::take(folder, softwareId, listed ? listed->name : softwareId, verb);
        if (lock)
            co_return std::move(*lock);
        if (!lock.error().isOurOwn || patience.hasExpired()) {
            setErrorMessage(lock.error().description);
            co_return std::nullopt;
        }
        co_await QCoro::sleepFor(50ms);
    }
    co_return std::nullopt;
}

void SoftwareListViewModel::cancelInstall(AISoftware *software)
{
    auto &process = m_services.installer.shell().currentStreamingProcess;
    if (process)
        process->terminate();
    process = nullptr;
    software->setStatus(SoftwareStatus::NotInstalled);
    m_services.store.save(*software);
    setIsOperating(false);
    print(QStringLiteral("\n⚠️ 已取消\n"));
}

int SoftwareListViewModel::beginOperation()
{
    setIsOperating(true);
    m_terminalOutput.clear();
    setErrorMessage({});
    return ++m_operation;
}

void SoftwareListViewModel::endOperation(int operation)
{
    if (isCurrent(operation))
        setIsOperating(false);
}

OutputHandler SoftwareListViewModel::outputHandler(const QString &softwareId, const QString &kind)
{
    const QString folder = m_services.folders.state + QStringLiteral("/vaelix/logs");
    const auto log = std::make_shared<OperationLog>(folder, softwareId, kind);
    return [self = QPointer(this), log](QUtf8StringView text) {
        log->append(text);
        if (self)
            self->m_terminalOutput.append(text);
    };
}

void SoftwareListViewModel::print(const QString &text)
{
    m_terminalOutput.append(QUtf8StringView(text.toUtf8()));
}
