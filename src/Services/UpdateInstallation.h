#pragma once

#include "Platform/FileLock.h"
#include "Platform/PrivateFolder.h"
#include "UpdateError.h"
#include "UpdateRecovery.h"

#include <QCoroTask>
#include <chrono>
#include <expected>
#include <functional>

/// What the swap needs once the application has ended.
struct PreparedUpdate {
    QString script; ///< absolute path of the executable script (see updateScript())
    QString moves; ///< absolute path of what its bash is to read first (see updateScriptMoves())
    QString newBundle; ///< absolute path of the bundle that the script will put in place
    PrivateFolder temporaryFolder; ///< holds all of these
    std::shared_ptr<FileLock> lock; ///< of the recovery. Whoever runs the script is to hold it on.
};

/// Gets a downloaded update ready to take the place of the running bundle, which it does not touch: verifies
/// the disk image, copies the new bundle out of it, has its program run once and writes the script that swaps them.
/// Interface thread only.
class UpdateInstallation
{
public:
    struct Environment {
        QString bundle; ///< the running one, absolute
        QString temporaryFolder; ///< the system's, absolute
        QString diskImageTool; ///< absolute path of an hdiutil
        UpdateRecovery recovery; ///< is told of the temporary folder
        QString attributeTool = QStringLiteral("/usr/bin/xattr"); ///< need not be there
        QString permissionTool = QStringLiteral("/bin/chmod");
        /// For the new program to tell its version, from a cold disk on a slow machine.
        std::chrono::milliseconds trialLimit = std::chrono::seconds(30);
    };
    using ProgressHandler = std::function<void(const QString &)>;
    using Outcome = std::expected<PreparedUpdate, UpdateError>;

    /// Why the bundle cannot be replaced, as a Chinese sentence; empty when it can.
    static QString obstacle(const QString &bundle);

    /// `expectedHash` is the image's SHA-256 in hexadecimal of either case; empty for an image that is taken as
    /// it is. `expectedVersion` is the line that the new program prints when it is asked for its version.
    /// `onProgress` gets a sentence for each step.
    UpdateInstallation(Environment environment, QString image, QString expectedHash, QString expectedVersion,
                       ProgressHandler onProgress);

    /// After a failure no image stays mounted; a folder "Vaelix_update_…" may stay among the temporary ones until the
    /// recovery at the next start. The object must outlive the task.
    QCoro::Task<Outcome> prepare();

    /// To be called when the application ends meanwhile, with no event loop to run prepare() to its end: waits for the
    /// files that are being copied and removes the temporary folder. A disk-image tool at work removes its part itself.
    void abandon() const;

private:
    using Step = std::expected<void, UpdateError>;

    QCoro::Task<Step> verify() const;
    QCoro::Task<> removeQuarantine() const;
    Step makeFolder();
    QCoro::Task<Step> takeBundle();
    QCoro::Task<Step> copyBundle(QString mountPoint);
    QCoro::Task<Step> tryNewBundle() const;
    QCoro::Task<Step> writeScript() const;
    QString scriptPath() const { return m_folder.path + QStringLiteral("/update.sh"); }
    QString movesPath() const { return m_folder.path + QStringLiteral("/moves.sh"); }
    void report(const QString &step) const;

    const Environment m_environment;
    const QString m_image;
    const QString m_expectedHash;
    const QString m_expectedVersion;
    const ProgressHandler m_onProgress;
    PrivateFolder m_folder; ///< of this installation alone; has no path before it is made
    QString m_newBundle;
};
