#include "CommandLine.h"
#include "VaelixApp.h"

#include "Platform/UserDefaults.h"
#include "Services/ShellService.h"
#include "ViewModels/SoftwareListViewModel.h"

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <cstring>
#include <span>

static int runCommandLine(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    SoftwareListViewModel viewModel;
    CommandLine commandLine(viewModel, ShellService::shared(), UserDefaults::shared());
    return QCoro::waitFor(commandLine.run(QCoreApplication::arguments().sliced(1)));
}

/// The addresses that the arguments consist of; none when they are a command. They carry credentials,
/// so they are wiped out of the list of arguments, which every user of the machine can read.
static QStringList takeAddresses(int &argc, char *argv[])
{
    QStringList addresses;
    for (int i = 1; i < argc; ++i)
        addresses.append(QString::fromLocal8Bit(argv[i]));
    const auto isAddress = [](const QString &argument) {
        return argument.startsWith(QLatin1String("x-vaelix:"), Qt::CaseInsensitive);
    };
    if (!std::ranges::all_of(addresses, isAddress))
        return {};
    for (int i = 1; i < argc; ++i)
        std::ranges::fill(std::span(argv[i], std::strlen(argv[i])), ' ');
    argc = 1;
    return addresses;
}

int main(int argc, char *argv[])
{
    // A parent that ignores it would have us inherit that, and the kernel keep every exit status to itself.
    std::signal(SIGCHLD, SIG_DFL);
    QCoreApplication::setApplicationName(QStringLiteral("Vaelix"));
    const QStringList addresses = takeAddresses(argc, argv);
    return argc > 1 ? runCommandLine(argc, argv) : VaelixApp::run(argc, argv, addresses);
}
