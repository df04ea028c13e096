#include "CommandLine.h"
#include "VaelixApp.h"

#include "Services/ShellService.h"
#include "ViewModels/SoftwareListViewModel.h"

#include <QCoreApplication>

static int runCommandLine(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    SoftwareListViewModel viewModel;
    CommandLine commandLine(viewModel, ShellService::shared());
    return QCoro::waitFor(commandLine.run(QCoreApplication::arguments().sliced(1)));
}

int main(int argc, char *argv[])
{
    QCoreApplication::setApplicationName(QStringLiteral("Vaelix"));
    return argc > 1 ? runCommandLine(argc, argv) : VaelixApp::run(argc, argv);
}
