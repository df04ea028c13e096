#include "Models/AISoftware.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

using namespace Qt::StringLiterals;

class tst_AISoftware : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsAreOneHarmlessLine_data();
    void textsAreOneHarmlessLine();
    void webPage_data();
    void webPage();
};

void tst_AISoftware::textsAreOneHarmlessLine_data()
{
    const auto row = columns<QString, QString>("text", "shown");
    row("ordinary", u"Ollama 运行时 é 😀 — “x”"_s, u"Ollama 运行时 é 😀 — “x”"_s);
    row("lines", u"a\r\nb\tc\u2028d\u2029e"_s, u"a  b c d e"_s);
    row("terminal colours", u"\u001b[31mred\u009b0m\u007f"_s, u" [31mred 0m "_s);
    row("NUL", u"a"_s + QChar(0) + u'b', u"a b"_s);
    row("overrides", u"a\u202Eb\u202Dc\u202Ad\u202Be\u202C"_s, u"a b c d e "_s);
    row("isolates", u"a\u2066b\u2067c\u2068d\u2069"_s, u"a b c d "_s);
    row("direction marks", u"a\u200Eb\u200Fc\u061Cd"_s, u"a b c d"_s);
}

void tst_AISoftware::textsAreOneHarmlessLine()
{
    QFETCH(QString, text);
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.name = entry.description = entry.version = entry.homepageURL = text;
    entry.dependencies = {text};
    AISoftware software(u"a"_s);
    software.takeDescription(entry);
    software.takeOffer(entry);
    software.setVersion(text);
    for (const QString &shown : {software.name, software.softwareDescription, software.version(),
                                 software.latestVersion, software.homepageURL, software.dependencies.value(0)})
        QTEST(shown, "shown");
}

void tst_AISoftware::webPage_data()
{
    const auto row = columns<QString, bool>("address", "isWebPage");
    row("https", u"https://a.example/docs"_s, true);
    row("http, any case", u"HTTP://a.example"_s, true);
    row("file", u"file:///etc/passwd"_s, false);
    row("script", u"javascript:alert(1)"_s, false);
    row("own scheme", u"x-vaelix://callback?token=t"_s, false);
    row("none", u"a.example"_s, false);
    row("looks like one", u"https-x://a"_s, false);
}

void tst_AISoftware::webPage()
{
    QFETCH(QString, address);
    AISoftware software(u"a"_s);
    software.homepageURL = address;
    QTEST(software.hasWebPage(), "isWebPage");
}

QTEST_GUILESS_MAIN(tst_AISoftware)
#include "tst_AISoftware.moc"
