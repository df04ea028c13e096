#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <optional>

/// Kind of a piece of software.
namespace SoftwareCategory {
Q_NAMESPACE

enum Value { Runtime, Model, Tool, Framework };
Q_ENUM_NS(Value)

inline constexpr std::array allCases{Runtime, Model, Tool, Framework};

/// The text it is stored and transmitted by: "runtime", "model", "tool", "framework".
QString rawValue(Value category);
/// The case of an exact, case-sensitive raw text.
std::optional<Value> fromRawValue(QStringView rawValue);
/// What the screens call it.
QString displayName(Value category);

} // namespace SoftwareCategory

/// What this machine knows about a piece of software right now.
namespace SoftwareStatus {
Q_NAMESPACE

enum Value {
    NotInstalled,
    Installed, ///< installed, not known to be running
    Running,
    Stopped, ///< installed and explicitly stopped
    Installing,
    Uninstalling,
    Upgrading,
    Error, ///< the last operation failed
};
Q_ENUM_NS(Value)

/// The text it is stored by: "not_installed", "installed", "running", and so on.
QString rawValue(Value status);
/// The case of an exact, case-sensitive raw text.
std::optional<Value> fromRawValue(QStringView rawValue);
/// What the screens call it.
QString displayName(Value status);

/// An install, uninstall or upgrade is under way.
bool isInProgress(Value status);
/// Installed, running or stopped.
bool isUsable(Value status);

} // namespace SoftwareStatus
