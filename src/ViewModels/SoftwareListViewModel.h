#pragma once

#include "Models/AISoftware.h"
#include "Models/OpenClawConfig.h"
#include "QQBotConnectViewModel.h"
#include "Services/OperationLock.h"
#include "Services/SoftwareInstallService.h"
#include "SoftwareListModel.h"
#include "TerminalOutput.h"
#include "WeChatConnectViewModel.h"

#include <QCoroTask>
#include <QPointer>
#include <functional>

class HermesService;
class KeychainService;
class OpenClawService;
class SoftwareCatalogService;
class SoftwareDetectionService;
class SoftwareMonitorService;
class SoftwareStore;
class UserDefaults;
class Workspace;
struct Folders;

/// Everything behind the software screens and the command line's `software` commands: builds the
/// list, keeps it true to the machine, and runs the operations. Nothing here throws or returns a
/// result to a screen; screens read the properties. Interface thread only.
class SoftwareListViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(SoftwareListModel *filteredModel READ filteredModel CONSTANT)
    Q_PROPERTY(TerminalOutput *terminalOutput READ terminalOutput CONSTANT)
    Q_PROPERTY(
        AISoftware *selectedSoftware READ selectedSoftware WRITE setSelectedSoftware NOTIFY selectedSoftwareChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY filterChanged)
    Q_PROPERTY(int selectedCategory READ selectedCategory WRITE setSelectedCategory NOTIFY filterChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool isOperating READ isOperating NOTIFY isOperatingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QString detectionFailure READ detectionFailure NOTIFY detectionFailureChanged)
    Q_PROPERTY(bool showUserSwitchedAlert READ showUserSwitchedAlert WRITE setShowUserSwitchedAlert NOTIFY
                   showUserSwitchedAlertChanged)
    Q_PROPERTY(QStringList configuredSoftwareIds READ configuredSoftwareIds NOTIFY configuredSoftwareIdsChanged)
    Q_PROPERTY(QQBotConnectViewModel *qqBotConnection READ qqBotConnection CONSTANT)
    Q_PROPERTY(WeChatConnectViewModel *weChatConnection READ weChatConnection CONSTANT)
    Q_PROPERTY(bool isQQBotConnected READ isQQBotConnected NOTIFY agentStateChanged)
    Q_PROPERTY(bool isWeChatConnected READ isWeChatConnected NOTIFY agentStateChanged)
    Q_PROPERTY(bool isApprovalsDisabled READ isApprovalsDisabled NOTIFY agentStateChanged)
    Q_PROPERTY(bool isHermesTelegramConnected READ isHermesTelegramConnected NOTIFY agentStateChanged)
    Q_PROPERTY(bool isHermesDiscordConnected READ isHermesDiscordConnected NOTIFY agentStateChanged)
    Q_PROPERTY(bool isHermesWeChatConnected READ isHermesWeChatConnected NOTIFY agentStateChanged)
    Q_PROPERTY(QString openClawPortText READ openClawPortText WRITE setOpenClawPortText NOTIFY openClawConfigChanged)
    Q_PROPERTY(QString openClawModelPath READ openClawModelPath WRITE setOpenClawModelPath NOTIFY openClawConfigChanged)
    Q_PROPERTY(
        bool showOpenClawConfig READ showOpenClawConfig WRITE setShowOpenClawConfig NOTIFY showOpenClawConfigChanged)
    Q_PROPERTY(bool showHermesGateway READ showHermesGateway WRITE setShowHermesGateway NOTIFY showHermesGatewayChanged)

public:
    /// The value of selectedCategory that stands for all of them.
    static constexpr int allCategories = -1;

    /// What the view model works with; the objects must outlive it.
    struct Services {
        SoftwareCatalogService &catalog;
        SoftwareStore &store;
        SoftwareDetectionService &detection;
        SoftwareMonitorService &monitor;
        SoftwareInstallService &installer;
        KeychainService &keychain;
        UserDefaults &defaults;
        const Folders &folders;
        const OpenClawService &openClaw;
        const HermesService &hermes;
        const Workspace &workspace;
        QQBotConnectViewModel &qqBotConnection;
        WeChatConnectViewModel &weChatConnection;
    };

    /// Wired to the shared services.
    explicit SoftwareListViewModel(QObject *parent = nullptr);
    explicit SoftwareListViewModel(Services services, QObject *parent = nullptr);
    ~SoftwareListViewModel() override;

    // Loading and detection

    /// Loads the catalog from the server, else from the application's resources, else the built-in
    /// one; merges it into the list; then refreshes status, versions and configuration marks.
    /// Then tells once that another account has signed in: this is for a window.
    QCoro::Task<> loadData();
    /// The same without the notice, which stays for the window.
    QCoro::Task<> loadSoftware();
    QCoro::Task<> detectAllStatus();
    QCoro::Task<> detectLocalVersions();
    void checkConfigStatus();

    const QList<AISoftware *> &softwareList() const;
    const SoftwareCatalog::Entries &catalog() const { return m_catalog; }
    AISoftware *software(const QString &id) const; ///< null when not listed
    QList<AISoftware *> filteredSoftware() const;

    /// The catalog offers a version that the local version text does not contain.
    Q_INVOKABLE bool hasUpgrade(AISoftware *software) const;

    // Operations: end with the status, errorMessage and terminalOutput saying how it went.

    QCoro::Task<> install(AISoftware *software);
    QCoro::Task<> upgrade(AISoftware *software);
    QCoro::Task<> uninstall(AISoftware *software);
    QCoro::Task<> start(AISoftware *software);
    QCoro::Task<> stop(AISoftware *software);
    Q_INVOKABLE void cancelInstall(AISoftware *software);

    // Agents: what they are connected to stands in their own files, so it is read when a check runs.

    /// Runs the configuration command line with the account's cloud API credentials in its
    /// environment.
    QCoro::Task<> configure(AISoftware *software);
    /// Starts the OpenClaw gateway and returns at once; its output goes on into terminalOutput.
    QCoro::Task<> openChat(AISoftware *software);
    /// Opens a terminal window in which the user talks to Hermes.
    Q_INVOKABLE void openHermesChat();
    /// Runs the gateway set-up of Hermes with the account's cloud API credentials in its environment.
    QCoro::Task<> setupHermesGateway();
    /// Lets the tools of the selected agent run without asking: Hermes where that is selected, else
    /// OpenClaw, whose gateway is started anew.
    QCoro::Task<> disableApprovals();
    /// Writes the edited configuration and closes its sheet.
    Q_INVOKABLE void saveOpenClawConfig();
    Q_INVOKABLE void checkQQBotConnection();
    Q_INVOKABLE void checkWeChatConnection();
    Q_INVOKABLE void checkApprovalsStatus();
    Q_INVOKABLE void checkHermesConnections();

    /// Makes ready for the sheet, with the catalog's command for the plug-in.
    Q_INVOKABLE void beginQQBotConnection();
    /// Connects WeChat with the catalog's command for the plug-in.
    QCoro::Task<> connectWeChat();
    QQBotConnectViewModel *qqBotConnection() { return &m_services.qqBotConnection; }
    WeChatConnectViewModel *weChatConnection() { return &m_services.weChatConnection; }

    // State

    SoftwareListModel *filteredModel() { return &m_filteredModel; }
    TerminalOutput *terminalOutput() { return &m_terminalOutput; }
    AISoftware *selectedSoftware() const { return m_selectedSoftware; }
    void setSelectedSoftware(AISoftware *software);
    QString searchText() const { return m_searchText; }
    void setSearchText(const QString &text);
    /// A SoftwareCategory::Value or allCategories.
    int selectedCategory() const { return m_selectedCategory; }
    void setSelectedCategory(int category);
    /// A load is under way.
    bool isLoading() const { return m_isLoading; }
    bool isOperating() const { return m_isOperating; }
    /// Empty when the last operation did not fail.
    QString errorMessage() const { return m_errorMessage; }
    /// Why the list may not show the machine's real state; empty when every question was answered.
    QString detectionFailure() const { return m_detectionFailure ? m_detectionFailure->description : QString(); }
    QStringList configuredSoftwareIds() const { return m_configuredSoftwareIds; }
    bool showUserSwitchedAlert() const { return m_showUserSwitchedAlert; }
    void setShowUserSwitchedAlert(bool show);

    bool isQQBotConnected() const { return m_agents.isQQBotConnected; }
    /// Either agent is.
    bool isWeChatConnected() const { return m_agents.isWeChatConnected; }
    /// Tools of either agent run without asking.
    bool isApprovalsDisabled() const { return m_agents.isApprovalsDisabled; }
    bool isHermesTelegramConnected() const { return m_agents.isHermesTelegramConnected; }
    bool isHermesDiscordConnected() const { return m_agents.isHermesDiscordConnected; }
    bool isHermesWeChatConnected() const { return m_agents.isHermesWeChatConnected; }

    /// The configuration being edited. Text that is no port leaves the port as it was.
    const OpenClawConfig &openClawConfig() const { return m_openClawConfig; }
    QString openClawPortText() const { return QString::number(m_openClawConfig.port); }
    void setOpenClawPortText(const QString &text);
    QString openClawModelPath() const { return m_openClawConfig.modelPath; }
    void setOpenClawModelPath(const QString &path);
    /// Whether their sheets are open.
    bool showOpenClawConfig() const { return m_showOpenClawConfig; }
    void setShowOpenClawConfig(bool show);
    bool showHermesGateway() const { return m_showHermesGateway; }
    void setShowHermesGateway(bool show);

Q_SIGNALS:
    void selectedSoftwareChanged();
    void filterChanged();
    void isLoadingChanged();
    void isOperatingChanged();
    void errorMessageChanged();
    void detectionFailureChanged();
    void showUserSwitchedAlertChanged();
    void configuredSoftwareIdsChanged();
    void agentStateChanged();
    void openClawConfigChanged();
    void showOpenClawConfigChanged();
    void showHermesGatewayChanged();

private:
    using SoftwarePointer = QPointer<AISoftware>;
    using Operation = SoftwareInstallService::Outcome (SoftwareInstallService::*)(
        QString, SoftwareCatalog::Entries, OutputHandler, SoftwareInstallService::StatusHandler);
    using StatusRule = void (*)(AISoftware &);
    /// What an operation is called.
    struct OperationKind {
        QString name; ///< in the name of its log
        QString verb; ///< in a sentence
    };
    static const OperationKind installKind;
    static const OperationKind upgradeKind;
    static const OperationKind uninstallKind;
    static const OperationKind startKind;
    static const OperationKind stopKind;
    static const OperationKind configureKind;

    /// What the agents were last found connected to.
    struct AgentState {
        bool isQQBotConnected = false;
        bool isWeChatConnected = false;
        bool isApprovalsDisabled = false;
        bool isHermesTelegramConnected = false;
        bool isHermesDiscordConnected = false;
        bool isHermesWeChatConnected = false;
    };

    /// One run of an operation that owns the busy flag; what it still reports after it was
    /// cancelled no longer touches the software.
    int beginOperation();
    void endOperation(int operation);
    bool isCurrent(int operation) const { return m_isOperating && operation == m_operation; }

    /// What install, upgrade and uninstall share. `rule` is applied after each status change.
    QCoro::Task<> operate(SoftwarePointer software, OperationKind kind, Operation operation, StatusRule rule);
    /// The program for one operation, `verb` being what it does; none when another one has it, as
    /// errorMessage says then.
    QCoro::Task<std::optional<OperationLock>> takeProgram(QString softwareId, QString verb);
    /// After an install or upgrade: reads the version and brings OpenClaw's gateway up anew.
    QCoro::Task<> finishInstall(SoftwarePointer software);
    void forgetConnections(const QString &softwareId);
    /// The account, for the environment of a configuration command line.
    ShellService::Environment credentials() const;

    QCoro::Task<> runGateway();
    /// Appends to the pane and to a log file of this operation; `kind` is its word in the file's name.
    OutputHandler outputHandler(const QString &softwareId, const QString &kind);
    void print(const QString &text);
    void setErrorMessage(const QString &message);
    void setDetectionFailure(const std::optional<ShellError> &failure);
    /// The login profile keeps every command line from being run.
    bool isDetectionInVain() const;
    void setIsOperating(bool isOperating);
    void setIsLoading(bool isLoading);
    void refilter();

    Services m_services;
    SoftwareCatalog::Entries m_catalog;
    SoftwareListModel m_filteredModel;
    TerminalOutput m_terminalOutput;
    SoftwarePointer m_selectedSoftware;
    QString m_searchText;
    int m_selectedCategory = allCategories;
    bool m_isLoading = false;
    bool m_isOperating = false;
    int m_operation = 0;
    QString m_errorMessage;
    std::optional<ShellError> m_detectionFailure;
    QStringList m_configuredSoftwareIds;
    bool m_showUserSwitchedAlert = false;
    AgentState m_agents;
    OpenClawConfig m_openClawConfig;
    bool m_showOpenClawConfig = false;
    bool m_showHermesGateway = false;
};
