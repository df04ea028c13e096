// The download of an update into a file against curl's, from the same server on this machine.

#include "BareChild.h"
#include "LargeFile.h"
#include "Measure.h"
#include "Platform/Bundle.h"
#include "Services/UpdateCheckService.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr int mebibytes = 256;
constexpr int rounds = 15;

/// Returns the file.
QString download(UpdateCheckService &service, const QString &address)
{
    QString file;
    QEventLoop loop;
    const auto task = service.downloadUpdate(
        {.downloadURL = address}, [](double) {},
        [&](const DownloadOutcome &outcome) {
            if (!outcome)
                qFatal("%s", qPrintable(outcome.error().description));
            file = *outcome;
            loop.quit();
        });
    loop.exec();
    return file;
}

void runCurl(const QString &address, const QString &destination)
{
    BareChild::run({.executable = "/usr/bin/curl",
                    .arguments = {"-s", "-f", "-o", QFile::encodeName(destination), address.toLatin1()},
                    .environment = {}});
}

QString speed(double seconds)
{
    return QString::number(mebibytes / seconds, 'f', 0) + QStringLiteral(" MiB/s");
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const LargeFile file(mebibytes);
    const FileServer server(file);
    const QString address = server.origin() + QStringLiteral("/image");
    const QString copy = file.pathBeside(QStringLiteral("copy"));
    UpdateCheckService service(QStringLiteral("http://127.0.0.1:9/api/v1"), Bundle::main(),
                               {.folders = Folders::under(file.pathBeside(QStringLiteral("home")))});

    const QString ours = download(service, address);
    runCurl(address, copy);
    if (QFileInfo(ours).size() != QFileInfo(file.path()).size() || QFileInfo(ours).size() != QFileInfo(copy).size())
        qFatal("The downloads are not whole");
    // To give up the blocks of the file before takes time that is nobody's speed.
    const auto timed = [](const QString &target, const std::function<void()> &call) {
        QFile::remove(target);
        return seconds(call);
    };
    const Comparison time = compare(
        rounds, [&] { return timed(ours, [&] { download(service, address); }); },
        [&] { return timed(copy, [&] { runCurl(address, copy); }); });
    report({.name = QStringLiteral("download of %1 MiB: speed").arg(mebibytes),
            .measured = speed(time.ours),
            .against = speed(time.theirs) + QStringLiteral(" curl"),
            .value = 1 / time.ratio,
            .bound = Measurement::Bound::AtLeast,
            .target = 0.8});
}
