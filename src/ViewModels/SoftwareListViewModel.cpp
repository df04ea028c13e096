#include "SoftwareListViewModel.h"

#include "Platform/Folders.h"
#include "Platform/UserDefaults.h"
#include "Services/KeychainService.h"
#include "Services/SoftwareCatalogService.h"
#include "Services/SoftwareDetectionService.h"
#include "Services/SoftwareMonitorService.h"
#include "Services/SoftwareStore.h"
#include "Utilities/Deployment.h"

#include <QCoroTimer>
#include <QFileInfo>
#include <QLocale>

using namespace std::chrono_literals;

namespace {

const QString openClaw = QStringLiteral("openclaw");
const QString needsReconfigureKey = QStringLiteral("needsReconfigureSoftware");

/// The command line whose output is the installed version; empty when not known.
QString versionCommand(const QString &softwareId)
{
    static const QHash<QString, QString> commands{
        {QStringLiteral("ollama"), QStringLiteral("ollama --version")},
        {QStringLiteral("stable-diffusion"), QStringLiteral("echo 'GUI App'")},
        {QStringLiteral("crewai"), QStringLiteral("crewai --version")},
        {openClaw, QStringLiteral("openclaw --version")},
        {QStringLiteral("hermes"), QStringLiteral("hermes version")},
    };
    return commands.value(softwareId);
}

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

bool matches(const AISoftware &software, const QString &searchText)
{
    if (searchText.isEmpty())
        return true;
    const QLocale locale;
    const auto contains = [&](const QString &text) { return locale.toLower(text).contains(searchText); };
    return contains(software.name) || contains(software.softwareDescription);
}

} // namespace

SoftwareListViewModel::SoftwareListViewModel(QObject *parent)
    : SoftwareListViewModel({SoftwareCatalogService::shared(), SoftwareStore::shared(),
                             SoftwareDetectionService::shared(), SoftwareMonitorService::shared(),
                             SoftwareInstallService::shared(), KeychainService::shared(), UserDefaults::shared(),
                             Folders::user()},
                            parent)
{
}

SoftwareListViewModel::SoftwareListViewModel(Services services, QObject *parent)
    : QObject(parent)
    , m_services(services)
{
}

SoftwareListViewModel::~SoftwareListViewModel() = default;

QCoro::Task<> SoftwareListViewModel::loadData()
{
    const QPointer self(this);
    setIsLoading(true);
    auto catalog = co_await m_services.catalog.load();
    if (!self)
        co_return;
    m_catalog = std::move(catalog);
    m_services.store.merge(m_catalog);
    refilter();
    co_await detectAllStatus();
    if (self)
        co_await detectLocalVersions();
    if (!self)
        co_return;
    checkConfigStatus();
    setIsLoading(false);
    if (m_services.defaults.isTrue(needsReconfigureKey)) {
        m_services.defaults.setTrue(needsReconfigureKey, false);
        setShowUserSwitchedAlert(true);
    }
}

QCoro::Task<> SoftwareListViewModel::detectAllStatus()
{
    const QPointer self(this);
    const auto isInstalled = co_await m_services.detection.detectAll(m_catalog);
    if (!self)
        co_return;
    QStringList ids;
    for (const AISoftware *software : softwareList())
        ids.append(software->id());
    const auto isRunning = co_await m_services.monitor.checkAllStatus(ids);
    if (!self)
        co_return;
    for (AISoftware *const software : softwareList()) {
        if (SoftwareStatus::isInProgress(software->status()))
            continue;
        if (!isInstalled.value(software->id()))
            software->setStatus(SoftwareStatus::NotInstalled);
        else
            software->setStatus(isRunning.value(software->id()) ? SoftwareStatus::Running : SoftwareStatus::Installed);
        m_services.store.save(*software);
    }
}

QCoro::Task<> SoftwareListViewModel::detectLocalVersions()
{
    const QPointer self(this);
    const QList<SoftwarePointer> list(softwareList().begin(), softwareList().end());
    for (const SoftwarePointer &software : list) {
        if (!software || !SoftwareStatus::isUsable(software->status()) || versionCommand(software->id()).isEmpty())
            continue;
        const auto result = co_await m_services.detection.shell().run(versionCommand(software->id()));
        if (!self)
            co_return;
        if (!software || !result || result->exitCode != 0 || result->output.isEmpty())
            continue;
        software->setVersion(QString::fromUtf8(result->output));
        m_services.store.save(*software);
    }
}

void SoftwareListViewModel::checkConfigStatus()
{
    const auto existsAtHome = [this](const QString &path) { return QFileInfo::exists(m_services.folders.home + path); };
    QStringList ids;
    if (existsAtHome(QStringLiteral("/.openclaw/openclaw.json")))
        ids.append(openClaw);
    if (existsAtHome(QStringLiteral("/.hermes/config.yaml")))
        ids.append(QStringLiteral("hermes"));
    m_configuredSoftwareIds = ids;
    Q_EMIT configuredSoftwareIdsChanged();
}

const QList<AISoftware *> &SoftwareListViewModel::softwareList() const
{
    return m_services.store.softwareList();
}

AISoftware *SoftwareListViewModel::software(const QString &id) const
{
    return m_services.store.software(id);
}

QList<AISoftware *> SoftwareListViewModel::filteredSoftware() const
{
    const QString searchText = QLocale().toLower(m_searchText);
    QList<AISoftware *> list;
    for (AISoftware *const software : softwareList())
        if ((m_selectedCategory == allCategories || software->category == m_selectedCategory)
            && matches(*software, searchText))
            list.append(software);
    return list;
}

bool SoftwareListViewModel::hasUpgrade(AISoftware *software) const
{
    return !software->latestVersion.isEmpty() && !software->upgradeCommand.isEmpty() && !software->version().isEmpty()
        && !software->version().contains(software->latestVersion);
}

bool SoftwareListViewModel::hasConfigCommand(AISoftware *software) const
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(m_catalog, software->id());
    return entry && !entry->configCommand.isEmpty();
}

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
    co_await operate(software, &SoftwareInstallService::uninstall, forgetInstallation);
    if (self)
        checkConfigStatus();
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
    if (!self || !software || software->id() != openClaw || software->status() != SoftwareStatus::Installed
        || !m_errorMessage.isEmpty())
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

QCoro::Task<> SoftwareListViewModel::configure(AISoftware *software)
{
    const QPointer self(this);
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(m_catalog, software->id());
    if (!entry || entry->configCommand.isEmpty()) {
        setErrorMessage(QStringLiteral("该软件没有配置命令"));
        co_return;
    }
    const int operation = beginOperation();
    const QString commandLine = credentialPrefix() + entry->configCommand;
    print(QStringLiteral(">>> 执行配置 (已注入 API 凭据)\n"));
    const auto exitCode = co_await m_services.installer.shell().runWithStreaming(commandLine, outputHandler());
    if (!self)
        co_return;
    if (!exitCode) {
        print(QStringLiteral("❌ 执行失败: %1\n").arg(exitCode.error().description));
        setErrorMessage(exitCode.error().description);
    } else if (*exitCode != 0) {
        print(QStringLiteral("\n❌ 配置失败 (exit code: %1)\n").arg(*exitCode));
        setErrorMessage(QStringLiteral("配置脚本执行失败"));
    } else {
        print(QStringLiteral("\n✅ 配置完成\n"));
        checkConfigStatus();
    }
    endOperation(operation);
}

QString SoftwareListViewModel::credentialPrefix() const
{
    const QString key = m_services.keychain.get(QStringLiteral("user_api_key")).value_or(QString());
    return QStringLiteral("export QUENDA_API_KEY='") + key + QStringLiteral("' QUENDA_API_URL='")
        + Deployment::cloudAPIOrigin() + QStringLiteral("/v1' && ");
}

QCoro::Task<> SoftwareListViewModel::openChat(AISoftware *)
{
    m_terminalOutput.clear();
    print(QStringLiteral(">>> 启动 OpenClaw Gateway...\n"));
    // The gateway runs on; how it ends is nobody's concern here.
    m_services.installer.shell().runWithStreaming(QStringLiteral("~/.openclaw/bin/openclaw gateway"), outputHandler());
    co_return;
}

void SoftwareListViewModel::setSelectedSoftware(AISoftware *software)
{
    if (m_selectedSoftware == software)
        return;
    m_selectedSoftware = software;
    Q_EMIT selectedSoftwareChanged();
}

void SoftwareListViewModel::setSearchText(const QString &text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    refilter();
    Q_EMIT filterChanged();
}

void SoftwareListViewModel::setSelectedCategory(int category)
{
    if (m_selectedCategory == category)
        return;
    m_selectedCategory = category;
    refilter();
    Q_EMIT filterChanged();
}

void SoftwareListViewModel::setShowUserSwitchedAlert(bool show)
{
    if (m_showUserSwitchedAlert == show)
        return;
    m_showUserSwitchedAlert = show;
    Q_EMIT showUserSwitchedAlertChanged();
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

void SoftwareListViewModel::setErrorMessage(const QString &message)
{
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}

void SoftwareListViewModel::setIsOperating(bool isOperating)
{
    m_isOperating = isOperating;
    Q_EMIT isOperatingChanged();
}

void SoftwareListViewModel::setIsLoading(bool isLoading)
{
    m_isLoading = isLoading;
    Q_EMIT isLoadingChanged();
}

void SoftwareListViewModel::refilter()
{
    m_filteredModel.setSoftware(filteredSoftware());
    if (m_selectedSoftware && !software(m_selectedSoftware->id()))
        setSelectedSoftware(nullptr);
}
