#pragma once

#include <QString>

/// The sandbox that Chromium puts the processes of web pages into. Where it cannot be had, Chromium
/// ends the whole application at its first page, so ask before the first one.
namespace WebEngineSandbox {

/// Why web pages cannot be shown, a Chinese sentence; empty where they can. A child process tries what
/// Chromium will do, unless the environment tells Chromium to do without a sandbox
/// (QTWEBENGINE_DISABLE_SANDBOX, or "--no-sandbox" among QTWEBENGINE_CHROMIUM_FLAGS). Takes a few
/// milliseconds.
QString obstacle();

} // namespace WebEngineSandbox
