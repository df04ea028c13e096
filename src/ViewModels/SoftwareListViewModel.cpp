#include "SoftwareListViewModel.h"

#include "Platform/Folders.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workspace.h"
#include "Services/HermesService.h"
#include "Services/KeychainService.h"
#include "Services/OpenClawService.h"
#include "Services/SoftwareCatalogService.h"
#include "Services/SoftwareDetectionService.h"
#include "Services/SoftwareMonitorService.h"
#include "Services/SoftwareStore.h"
#include "Utilities/NextTurn.h"

#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>

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

/// What the answers make of the status; what was not answered leaves it as it was.
SoftwareStatus::Value detectedStatus(const AISoftware &software, std::optional<bool> isInstalled,
                                     std::optional<bool> isRunning)
{
    if (!isInstalled)
        return software.status();
    if (!*isInstalled)
        return SoftwareStatus::NotInstalled;
    if (!isRunning)
        return software.isUsable() ? software.status() : SoftwareStatus::Installed;
    return *isRunning ? SoftwareStatus::Running : SoftwareStatus::Installed;
}

/// The line of a program's answer that holds a version number; the whole answer when none does.
QString versionIn(const QString &answer)
{
    static const QRegularExpression number(QStringLiteral("\\d\\.\\d"));
    const QStringList lines = answer.split(u'\n');
    const auto line = std::ranges::find_if(lines, [](const QString &text) { return text.contains(number); });
    return line == lines.end() ? answer : line->trimmed();
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
                             Folders::user(), OpenClawService::shared(), HermesService::shared(), Workspace::shared(),
                             QQBotConnectViewModel::shared(), WeChatConnectViewModel::shared()},
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
    co_await loadSoftware();
    if (!self || !m_services.defaults.isTrue(needsReconfigureKey))
        co_return;
    m_services.defaults.setTrue(needsReconfigureKey, false);
    setShowUserSwitchedAlert(true);
}

QCoro::Task<> SoftwareListViewModel::loadSoftware()
{
    const QPointer self(this);
    setIsLoading(true);
    auto catalog = co_await m_services.catalog.load();
    if (!self)
        co_return;
    // A large catalog is not read, listed and asked for in one turn of the event loop.
    co_await nextTurn();
    if (!self)
        co_return;
    m_catalog = std::move(catalog);
    m_services.store.merge(m_catalog);
    refilter();
    co_await nextTurn();
    if (self)
        co_await detectAllStatus();
    if (self && !isDetectionInVain())
        co_await detectLocalVersions();
    if (!self)
        co_return;
    checkConfigStatus();
    setIsLoading(false);
}

QCoro::Task<> SoftwareListViewModel::detectAllStatus()
{
    const QPointer self(this);
    const DetectionAnswers isInstalled = co_await m_services.detection.detectAll(m_catalog);
    if (!self)
        co_return;
    setDetectionFailure(isInstalled.failure);
    if (isDetectionInVain())
        co_return;
    QStringList ids;
    for (const AISoftware *software : softwareList())
        ids.append(software->id());
    const DetectionAnswers isRunning = co_await m_services.monitor.checkAllStatus(ids);
    if (self)
        co_await nextTurn();
    if (!self)
        co_return;
    if (isRunning.failure)
        setDetectionFailure(isRunning.failure);
    for (AISoftware *const software : softwareList()) {
        if (SoftwareStatus::isInProgress(software->status()))
            continue;
        software->setStatus(detectedStatus(*software, isInstalled.of(software->id()), isRunning.of(software->id())));
    }
    m_services.store.saveAll();
}

QCoro::Task<> SoftwareListViewModel::detectLocalVersions()
{
    const QPointer self(this);
    QList<SoftwarePointer> asked;
    for (AISoftware *const software : softwareList())
        if (!versionCommand(software->id()).isEmpty())
            asked.append(software);
    for (const SoftwarePointer &software : asked) {
        if (!software || !software->isUsable())
            continue;
        const auto result = co_await m_services.detection.shell().ask(versionCommand(software->id()));
        if (!self)
            co_return;
        if (!result)
            setDetectionFailure(result.error());
        if (isDetectionInVain())
            co_return;
        if (!software || !result || result->exitCode != 0 || result->output.isEmpty())
            continue;
        software->setVersion(versionIn(result->output.toString()));
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

void SoftwareListViewModel::setErrorMessage(const QString &message)
{
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}

void SoftwareListViewModel::setDetectionFailure(const std::optional<ShellError> &failure)
{
    m_detectionFailure = failure;
    Q_EMIT detectionFailureChanged();
}

bool SoftwareListViewModel::isDetectionInVain() const
{
    return m_detectionFailure && m_detectionFailure->isAboutProfile();
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
