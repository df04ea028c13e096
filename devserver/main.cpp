#include "DevServer.h"
#include "Options.h"
#include "Seed.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>

namespace {

int fail(int status, const QString &message)
{
    std::fputs(QStringLiteral("vaelix-devserver：%1\n").arg(message).toUtf8().constData(), stderr);
    return status;
}

/// A descriptor that becomes readable when SIGTERM or SIGINT arrives, in place of their default effect.
int endSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

void print(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    const int endDescriptor = endSignals();
    const QCoreApplication app(argc, argv);
    const QSocketNotifier end(endDescriptor, QSocketNotifier::Read);
    QObject::connect(&end, &QSocketNotifier::activated, &app, &QCoreApplication::quit);

    const auto options = devserver::readOptions(QCoreApplication::arguments());
    if (!options)
        return fail(2, options.error() + u'\n' + devserver::usage());
    if (options->help) {
        print(devserver::usage());
        return 0;
    }
    auto state = devserver::readSeed(options->catalogFile);
    if (!state)
        return fail(1, state.error());
    if (!options->updateImage.isEmpty()) {
        if (const auto taken = state->update.emplace().setFile(options->updateImage); !taken)
            return fail(1, taken.error());
    }
    devserver::DevServer server(std::move(*state));
    const auto origin = server.start(options->port);
    if (!origin)
        return fail(1, origin.error());
    print(*origin + u'\n');
    return QCoreApplication::exec();
}
