#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <expected>

/// Why something was not opened: a Chinese sentence.
struct WorkspaceError {
    QString description;
};

/// Opens files with the desktop's programs.
class Workspace
{
public:
    static Workspace &shared();

    /// The environment tells where programs are, which terminal the user prefers ($TERMINAL), and
    /// becomes that of what is opened.
    explicit Workspace(const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

    /// Runs a script, a ".command" file, in a terminal window of its own and returns without waiting
    /// for it. Refuses a file that another user owns or can write: it may stand in a folder where
    /// everybody creates files.
    std::expected<void, WorkspaceError> openCommandFile(const QString &path) const;

private:
    bool start(const QStringList &commandLine) const;

    const QProcessEnvironment m_environment;
};
