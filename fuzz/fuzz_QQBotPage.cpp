#include "Fuzz.h"

#include "Services/ShellService.h"
#include "ViewModels/QQBotConnectViewModel.h"
#include "Views/Software/QQBotPage.h"

#include <QRegularExpression>
#include <algorithm>

namespace {

/// The page, and what takes its credentials, connected as the screen does it.
struct Screen {
    Screen()
    {
        QObject::connect(&page, &QQBotPage::credentialsDetected, &connection, &QQBotConnectViewModel::takeCredentials);
    }

    /// What the page's script puts before its messages.
    QString mark() const
    {
        const auto found =
            QRegularExpression(QStringLiteral("credentials:[0-9a-f]{32}:")).match(page.credentialScript());
        Fuzz::expect(found.hasMatch(), "the script holds the mark");
        return found.captured();
    }

    ShellService shell{QStringLiteral("/nonexistent"), QString()};
    QQBotConnectViewModel connection{shell};
    QQBotPage page;
};

bool isAlphanumeric(const QString &text)
{
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 128 && c.isLetterOrNumber(); });
}

} // namespace

/// What the page says on its console, with the mark and without it. What is taken stands in a command line.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Screen screen;
    static const QString mark = screen.mark();
    const QString message = QString::fromUtf8(Fuzz::bytesOf(data, size));
    screen.connection.setShowConnectAlert(false);
    screen.page.takeMessage(message);
    Fuzz::expect(!screen.connection.showConnectAlert(), "a message without the mark is the page's own");
    screen.page.takeMessage(mark + message);
    if (!screen.connection.showConnectAlert())
        return 0;
    const QString id = screen.connection.detectedAppId();
    const QString secret = screen.connection.detectedAppSecret();
    Fuzz::expect(!id.isEmpty() && isAlphanumeric(id) && !secret.isEmpty() && isAlphanumeric(secret),
                 "only letters and digits are taken");
    return 0;
}
