// Running operations on software; what builds and shows the list is in SoftwareListViewModel.cpp,
// and what only the agents can do in SoftwareListViewModelAgents.cpp.
#include "SoftwareListViewModel.h"

#include "Services/SoftwareStore.h"

#include <QCoroTimer>

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

QCoro::Task<> SoftwareListViewModel::install(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    co_await operate(target, &SoftwareInstallService::install, rememberInstallation);
    if (self)
        co_await finishInstall(target);
}

QCoro::Task<> SoftwareListViewModel::upgrade(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    co_await operate(target, &SoftwareInstallService::upgrade, takeOfferedVersion);
    if (self)
        co_await finishInstall(target);
}

QCoro::Task<> SoftwareListViewModel::uninstall(AISoftware *software)
{
    const QPointer self(this);
    const QString id = software->id();
    co_await operate(software, &SoftwareInstallService::uninstall, forgetInstallation);
    if (!self)
        co_return;
    checkConfigStatus();
    forgetConnections(id);
}

QCoro::Task<> SoftwareListViewModel::operate(SoftwarePointer software, Operation operation, StatusRule rule)
{
    const QPointer self(this);
    const int number = beginOperation();
    const SoftwareInstallService::StatusHandler onStatusChange = [self, software, number,
                                                                  rule](SoftwareStatus::Value status) {
        if (!self || !software || !self->isCurrent(number))
            return;
        software->setStatus(status);
        rule(*software);
        self->m_services.store.save(*software);
    };
    const OutputHandler onOutput = outputHandler();
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
    m_terminalOutput.clear();
    const auto outcome = m_services.installer.start(software->id(), m_catalog, outputHandler());
    if (!outcome) {
        setErrorMessage(outcome.error().description());
        co_return;
    }
    // The program needs a moment before it can be called running.
    QTimer pause;
    pause.setSingleShot(true);
    pause.start(2s);
    co_await pause;
    if (!self || !target)
        co_return;
    target->setStatus(SoftwareStatus::Running);
    m_services.store.save(*target);
}

QCoro::Task<> SoftwareListViewModel::stop(AISoftware *software)
{
    const QPointer self(this);
    const SoftwarePointer target(software);
    m_terminalOutput.clear();
    const auto outcome = co_await m_services.installer.stop(software->id(), m_catalog, outputHandler());
    if (!self || !target)
        co_return;
    if (!outcome) {
        setErrorMessage(outcome.error().description());
        co_return;
    }
    target->setStatus(SoftwareStatus::Stopped);
    m_services.store.save(*target);
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

OutputHandler SoftwareListViewModel::outputHandler()
{
    return [self = QPointer(this)](QUtf8StringView text) {
        if (self)
            self->m_terminalOutput.append(text);
    };
}

void SoftwareListViewModel::print(const QString &text)
{
    m_terminalOutput.append(QUtf8StringView(text.toUtf8()));
}
