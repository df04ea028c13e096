#include "Support/Table.h"
#include "Utilities/Text.h"
#include "ViewModels/TerminalOutput.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void append(TerminalOutput &output, const QString &text)
{
    output.append(QUtf8StringView(text.toUtf8()));
}

const QString meterAt45 = u" 45 1000M   45  450M    0     0  10.0M      0  0:01:40  0:00:45  0:00:55 11.0M"_s;

} // namespace

class tst_TerminalOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shownTail_data();
    void shownTail();
    void charactersAreUserPerceived_data();
    void charactersAreUserPerceived();
    void colourEscapesAreNotShown();
    void aCarriageReturnStartsTheLineAnew_data();
    void aCarriageReturnStartsTheLineAnew();
    void theProgressIsThatOfTheOutputAsItCame();
    void curlProgress_data();
    void curlProgress();
    void shownAtMostSixtyTimesASecondAndOnceAtTheEnd();
    void clearingTellsAtOnce();
    void onlyTheEndOfLongOutputIsKept();
};

void tst_TerminalOutput::shownTail_data()
{
    const auto row = columns<QString, QString>("text", "shown");
    const QString tail(5999, u'b');
    row("nothing", {}, u"等待输出..."_s);
    row("6000 characters", QString(6000, u'a'), QString(6000, u'a'));
    row("6001 characters", u"xy"_s + tail, u"...\ny"_s + tail);
    row("6001 Chinese characters", QString(6001, u'中'), u"...\n"_s + QString(6000, u'中'));
    row("much more", QString(3'000'000, u'中') + tail, u"...\n中"_s + tail);
    const QString family = u"👨‍👩‍👧‍👦"_s;
    row("long characters", family.repeated(6002), u"...\n"_s + family.repeated(6000));
}

void tst_TerminalOutput::shownTail()
{
    QFETCH(QString, text);
    TerminalOutput output;
    QSignalSpy shown(&output, &TerminalOutput::shownChanged);
    append(output, text);
    QVERIFY(text.isEmpty() || shown.wait());
    QTEST(output.displayText(), "shown");
    QCOMPARE(output.text(), text.toUtf8());
}

void tst_TerminalOutput::charactersAreUserPerceived_data()
{
    const auto row = columns<QString, int, QString>("text", "count", "last");
    row("fewer than asked", u"ab"_s, 3, u"ab"_s);
    row("combining mark", u"xe\u0301y"_s, 2, u"e\u0301y"_s);
    row("mark at the end", u"xye\u0301"_s, 2, u"ye\u0301"_s);
    row("surrogates", u"a😀b"_s, 2, u"😀b"_s);
    row("joined emoji", u"a👩‍🚀b"_s, 2, u"👩‍🚀b"_s);
    row("flags", u"a🇨🇳🇫🇷"_s, 2, u"🇨🇳🇫🇷"_s);
    row("carriage return and line feed", u"a\r\nb"_s, 2, u"\r\nb"_s);
    row("line feed after Chinese", u"中\n文"_s, 2, u"\n文"_s);
    row("none", u"abc"_s, 0, u""_s);
}

void tst_TerminalOutput::charactersAreUserPerceived()
{
    QFETCH(QString, text);
    QFETCH(int, count);
    QTEST(text.sliced(lastCharactersStart(text, count)), "last");
}

void tst_TerminalOutput::colourEscapesAreNotShown()
{
    TerminalOutput output;
    append(output, u"\x1B[1;32mready\x1B[0m [x]\x1B[2K\n"_s);
    QTRY_COMPARE(output.displayText(), u"ready [x]\n"_s);
    QCOMPARE(output.text(), "\x1B[1;32mready\x1B[0m [x]\x1B[2K\n");
}

void tst_TerminalOutput::aCarriageReturnStartsTheLineAnew_data()
{
    const auto row = columns<QString, QString>("text", "shown");
    row("a line drawn three times", u"one\n 1%\r 25%\r100%"_s, u"one\n100%"_s);
    row("and finished", u" 99%\r100%\ntwo\n"_s, u"100%\ntwo\n"_s);
    row("by a shorter one", u"longer\rab\n\n"_s, u"ab\n\n"_s);
    row("not yet drawn again", u"one\n 45%\r"_s, u"one\n 45%"_s);
    row("at the ends of lines", u"one\r\ntwo\r\r\nthree\r\n"_s, u"one\ntwo\nthree\n"_s);
    row("at the beginning", u"\rone\n\rtwo"_s, u"one\ntwo"_s);
    row("with colours", u"\x1B[32m 1%\x1B[0m\r\x1B[2K\x1B[32m 2%\x1B[0m"_s, u" 2%"_s);
    row("for long", u"one\n"_s + (meterAt45 + u'\r').repeated(3000) + u"end\n"_s, u"one\nend\n"_s);
    row("a long line", QString(30'000, u'a') + u'\r', u"...\n"_s + QString(6000, u'a'));
    row("many lines", u"x\ry\n"_s.repeated(30'000), u"...\n"_s + u"y\n"_s.repeated(3000));
}

void tst_TerminalOutput::aCarriageReturnStartsTheLineAnew()
{
    QFETCH(QString, text);
    TerminalOutput output;
    QSignalSpy shown(&output, &TerminalOutput::shownChanged);
    append(output, text);
    QVERIFY(shown.wait());
    QTEST(output.displayText(), "shown");
    QCOMPARE(output.text(), text.toUtf8());
}

void tst_TerminalOutput::theProgressIsThatOfTheOutputAsItCame()
{
    TerminalOutput output;
    append(output, meterAt45 + u"\rUnpacking"_s);
    QTRY_COMPARE(output.displayText(), u"Unpacking"_s);
    QCOMPARE(output.progress(), 0.45);
    append(output, u"\r✅\rdone"_s);
    QTRY_COMPARE(output.displayText(), u"done"_s);
    QVERIFY(!output.hasProgress());
}

void tst_TerminalOutput::curlProgress_data()
{
    // fraction: -1 for none
    const auto row = columns<QString, double>("output", "fraction");

    const QString at12 = QString(meterAt45).replace(u" 45 "_s, u" 12 "_s);
    row("empty", {}, -1.0);
    row("meter line", meterAt45, 0.45);
    row("redrawn by carriage returns, the last counts", at12 + u'\r' + meterAt45, 0.45);
    row("ordinary lines behind it", meterAt45 + u"\r\nUnpacking\n"_s, 0.45);
    row("unknown time", u"  0     0    0     0    0     0      0      0 --:--:-- --:--:-- --:--:--     0"_s, 0.0);
    row("decimal percentage", u"99.5 1 2 3 4 5 6 7 0:00:01 x"_s, 0.995);
    row("over 100 is not progress", meterAt45 + u"\n120 1 2 3 4 5 6 7 0:00:01"_s, 0.45);
    row("eight fields", u"45 1 2 3 4 5 6 0:00:01"_s, -1.0);
    row("ninth is no time", u"45 1 2 3 4 5 6 7 8 0:00:01"_s, -1.0);
    row("not a number", u"nan 1 2 3 4 5 6 7 0:00:01"_s, -1.0);
    row("scrolled out of 400 characters", meterAt45 + u'\n' + QString(400, u'x'), -1.0);
    row("finished", meterAt45 + u"\n✅ 安装完成\n"_s, -1.0);
    row("failed", meterAt45 + u"\n❌ 安装失败 (exit code: 2)\n"_s, -1.0);
    row("mark older than 100 characters", u"✅"_s + QString(100, u' ') + u'\n' + meterAt45, 0.45);
}

void tst_TerminalOutput::curlProgress()
{
    QFETCH(QString, output);
    QTEST(::curlProgress(output).value_or(-1), "fraction");
}

void tst_TerminalOutput::shownAtMostSixtyTimesASecondAndOnceAtTheEnd()
{
    TerminalOutput output;
    QSignalSpy shown(&output, &TerminalOutput::shownChanged);
    QTimer lines;
    int count = 0;
    connect(&lines, &QTimer::timeout, &output, [&] {
        append(output, u"%1\n"_s.arg(++count));
        if (count == 300)
            lines.stop();
    });
    QElapsedTimer elapsed;
    elapsed.start();
    lines.start(1ms);
    QTRY_COMPARE_WITH_TIMEOUT(count, 300, 60000);
    QTRY_VERIFY(output.displayText().endsWith(u"300\n"_s));
    QCOMPARE_LE(shown.count(), elapsed.elapsed() / 15 + 2);
    QCOMPARE_LT(shown.count(), 300);
}

void tst_TerminalOutput::clearingTellsAtOnce()
{
    TerminalOutput output;
    QSignalSpy empty(&output, &TerminalOutput::isEmptyChanged);
    append(output, u"x"_s);
    output.clear();
    QCOMPARE(empty.count(), 2);
    QCOMPARE(output.displayText(), u"等待输出..."_s);
    QSignalSpy shown(&output, &TerminalOutput::shownChanged);
    QTest::qWait(40);
    QCOMPARE(shown.count(), 0);
}

void tst_TerminalOutput::onlyTheEndOfLongOutputIsKept()
{
    TerminalOutput output;
    const QByteArray piece = QByteArray("中").repeated(1024 * 1024 / 3);
    for (int megabytes = 0; megabytes < 100; ++megabytes) {
        output.append(QUtf8StringView(piece));
        QCOMPARE_LE(output.text().size(), TerminalOutput::keptBytes + 5 * 1024 * 1024);
    }
    append(output, u"完"_s);
    QCOMPARE_GE(output.text().size(), TerminalOutput::keptBytes);
    QVERIFY(output.text().startsWith("中") && output.text().endsWith("中完"));
    QTRY_VERIFY(output.displayText().startsWith(u"...\n中"_s) && output.displayText().endsWith(u"完"_s));

    output.clear();
    append(output, u"anew"_s);
    QTRY_COMPARE(output.displayText(), u"anew"_s);
}

QTEST_GUILESS_MAIN(tst_TerminalOutput)
#include "tst_TerminalOutput.moc"
