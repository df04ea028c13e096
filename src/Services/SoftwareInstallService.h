#pragma once

#include "Models/AISoftware.h"
#include "ShellService.h"

class SoftwareDetectionService;

/// Why an operation on a piece of software failed.
class InstallError
{
public:
    enum class Kind {
        MissingDependency,
        InstallFailed,
        UninstallFailed,
        UpgradeFailed,
        NoInstallCommand,
        NoUninstallCommand,
        NoUpgradeCommand,
        NoStartCommand,
        NoStopCommand,
        ShellFailed, ///< the command line was not run
    };

    explicit InstallError(Kind kind)
        : m_kind(kind)
    {
    }
    static InstallError missingDependency(const QString &name) { return {Kind::MissingDependency, name, 0}; }
    /// `kind` is one of the three that carry an exit status.
    static InstallError failed(Kind kind, int exitCode) { return {kind, {}, exitCode}; }
    static InstallError shellFailed(const ShellError &error) { return {Kind::ShellFailed, error.description, 0}; }

    Kind kind() const { return m_kind; }
    /// The sentence the user sees.
    QString description() const;

private:
    InstallError(Kind kind, QString text, int exitCode)
        : m_kind(kind)
        , m_text(std::move(text))
        , m_exitCode(exitCode)
    {
    }

    Kind m_kind;
    QString m_text;
    int m_exitCode = 0;
};

/// Runs the install, upgrade, uninstall, start and stop command lines of a piece of software, found
/// in the catalog by its id. Reports progress lines and status changes through callbacks, called on
/// the interface thread, and changes nothing itself.
class SoftwareInstallService
{
public:
    using StatusHandler = std::function<void(SoftwareStatus::Value)>;
    using FailureHandler = std::function<void(const InstallError &)>;
    using Outcome = QCoro::Task<std::expected<void, InstallError>>;

    static SoftwareInstallService &shared();

    SoftwareInstallService(ShellService &shell, SoftwareDetectionService &detection);

    // Report the status while it runs, and the one it ends with; neither when they fail before the
    // command line was run.
    Outcome install(QString softwareId, SoftwareCatalog::Entries catalog, OutputHandler onOutput,
                    StatusHandler onStatusChange);
    Outcome upgrade(QString softwareId, SoftwareCatalog::Entries catalog, OutputHandler onOutput,
                    StatusHandler onStatusChange);
    Outcome uninstall(QString softwareId, SoftwareCatalog::Entries catalog, OutputHandler onOutput,
                      StatusHandler onStatusChange);

    /// Launches the start command line and returns at once; what it prints later still comes. `onFailure`
    /// is called when it turns out that the line is not run, before this returns or later.
    std::expected<void, InstallError> start(const QString &softwareId, const SoftwareCatalog::Entries &catalog,
                                            OutputHandler onOutput, FailureHandler onFailure);
    /// Returns when the stop command line has ended. Its exit status is told in the output and is
    /// no failure.
    Outcome stop(QString softwareId, SoftwareCatalog::Entries catalog, OutputHandler onOutput);

    ShellService &shell() const { return m_shell; }

private:
    struct Operation;

    Outcome perform(const Operation *operation, QString softwareId, SoftwareCatalog::Entries catalog,
                    OutputHandler onOutput, StatusHandler onStatusChange);
    QCoro::Task<> launch(QString commandLine, OutputHandler onOutput, FailureHandler onFailure);

    ShellService &m_shell;
    SoftwareDetectionService &m_detection;
};
