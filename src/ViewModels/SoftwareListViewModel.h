#pragma once

#include "Models/AISoftware.h"
#include "Services/SoftwareInstallService.h"
#include "SoftwareListModel.h"
#include "TerminalOutput.h"

#include <QCoroTask>
#include <QPointer>
#include <functional>

class KeychainService;
class SoftwareCatalogService;
class SoftwareDetectionService;
class SoftwareMonitorService;
class SoftwareStore;
class UserDefaults;
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
    Q_PROPERTY(bool showUserSwitchedAlert READ showUserSwitchedAlert WRITE setShowUserSwitchedAlert NOTIFY
                   showUserSwitchedAlertChanged)
    Q_PROPERTY(QStringList configuredSoftwareIds READ configuredSoftwareIds NOTIFY configuredSoftwareIdsChanged)

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
    };

    /// Wired to the shared services.
    explicit SoftwareListViewModel(QObject *parent = nullptr);
    explicit SoftwareListViewModel(Services services, QObject *parent = nullptr);
    ~SoftwareListViewModel() override;

    // Loading and detection

    /// Loads the catalog from the server, else from the application's resources, else the built-in
    /// one; merges it into the list; then refreshes status, versions and configuration marks.
    QCoro::Task<> loadData();
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

    // Agents

    /// Runs the configuration command line with the account's cloud API credentials in its
    /// environment.
    QCoro::Task<> configure(AISoftware *software);
    /// Starts the OpenClaw gateway and returns at once; its output goes on into terminalOutput.
    QCoro::Task<> openChat(AISoftware *software);

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
    QStringList configuredSoftwareIds() const { return m_configuredSoftwareIds; }
    bool showUserSwitchedAlert() const { return m_showUserSwitchedAlert; }
    void setShowUserSwitchedAlert(bool show);

Q_SIGNALS:
    void selectedSoftwareChanged();
    void filterChanged();
    void isLoadingChanged();
    void isOperatingChanged();
    void errorMessageChanged();
    void showUserSwitchedAlertChanged();
    void configuredSoftwareIdsChanged();

private:
    using SoftwarePointer = QPointer<AISoftware>;
    using Operation = SoftwareInstallService::Outcome (SoftwareInstallService::*)(
        QString, SoftwareCatalog::Entries, OutputHandler, SoftwareInstallService::StatusHandler);
    using StatusRule = void (*)(AISoftware &);

    /// One run of an operation that owns the busy flag; what it still reports after it was
    /// cancelled no longer touches the software.
    int beginOperation();
    void endOperation(int operation);
    bool isCurrent(int operation) const { return m_isOperating && operation == m_operation; }

    /// What install, upgrade and uninstall share. `rule` is applied after each status change.
    QCoro::Task<> operate(SoftwarePointer software, Operation operation, StatusRule rule);
    /// After an install or upgrade: reads the version and brings OpenClaw's gateway up anew.
    QCoro::Task<> finishInstall(SoftwarePointer software);
    /// What hands the account to a configuration command line; holds the key, so never shown.
    QString credentialPrefix() const;

    OutputHandler outputHandler();
    void print(const QString &text);
    void setErrorMessage(const QString &message);
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
    QStringList m_configuredSoftwareIds;
    bool m_showUserSwitchedAlert = false;
};
