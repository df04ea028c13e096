#include "Utilities/Text.h"
#include "ViewModels/TerminalOutput.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

void append(TerminalOutput &output, const QString &text)
{
    output.append(QUtf8StringView(text.toUtf8()));
}

const QString meterAt45 =
    QStringLiteral(" 45 1000M   45  450M    0     0  10.0M      0  0:01:40  0:00:45  0:00:55 11.0M");

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
    void curlProgress_data();
    void curlProgress();
    void shownAtMostSixtyTimesASecondAndOnceAtTheEnd();
    void clearingTellsAtOnce();
};

void tst_TerminalOutput::shownTail_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const QString tail(5999, u'b');
    QTest::newRow("nothing") << QString() << "等待输出...";
    QTest::newRow("6000 characters") << QString(6000, u'a') << QString(6000, u'a');
    QTest::newRow("6001 characters") << QStringLiteral("xy") + tail << QStringLiteral("...\ny") + tail;
    QTest::newRow("6001 Chinese characters") << QString(6001, u'中') << QStringLiteral("...\n") + QString(6000, u'中');
    QTest::newRow("much more") << QString(3'000'000, u'中') + tail << QStringLiteral("...\n中") + tail;
    const QString family = QStringLiteral("👨‍👩‍👧‍👦");
    QTest::newRow("long characters") << family.repeated(6002) << QStringLiteral("...\n") + family.repeated(6000);
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
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("last");
    QTest::newRow("fewer than asked") << "ab" << 3 << "ab";
    QTest::newRow("combining mark") << "xe\u0301y" << 2 << "e\u0301y";
    QTest::newRow("mark at the end") << "xye\u0301" << 2 << "ye\u0301";
    QTest::newRow("surrogates") << "a😀b" << 2 << "😀b";
    QTest::newRow("joined emoji") << "a👩‍🚀b" << 2 << "👩‍🚀b";
    QTest::newRow("flags") << "a🇨🇳🇫🇷" << 2 << "🇨🇳🇫🇷";
    QTest::newRow("carriage return and line feed") << "a\r\nb" << 2 << "\r\nb";
    QTest::newRow("line feed after Chinese") << "中\n文" << 2 << "\n文";
    QTest::newRow("none") << "abc" << 0 << "";
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
    append(output, QStringLiteral("\x1B[1;32mready\x1B[0m [x]\x1B[2K\n"));
    QTRY_COMPARE(output.displayText(), QStringLiteral("ready [x]\n"));
    QCOMPARE(output.text(), "\x1B[1;32mready\x1B[0m [x]\x1B[2K\n");
}

void tst_TerminalOutput::curlProgress_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<double>("fraction"); // -1 for none

    const QString at12 = QString(meterAt45).replace(QStringLiteral(" 45 "), QStringLiteral(" 12 "));
    QTest::newRow("empty") << QString() << -1.0;
    QTest::newRow("meter line") << meterAt45 << 0.45;
    QTest::newRow("redrawn by carriage returns, the last counts") << at12 + u'\r' + meterAt45 << 0.45;
    QTest::newRow("ordinary lines behind it") << meterAt45 + QStringLiteral("\r\nUnpacking\n") << 0.45;
    QTest::newRow("unknown time") << "  0     0    0     0    0     0      0      0 --:--:-- --:--:-- --:--:--     0"
                                  << 0.0;
    QTest::newRow("decimal percentage") << "99.5 1 2 3 4 5 6 7 0:00:01 x" << 0.995;
    QTest::newRow("over 100 is not progress") << meterAt45 + QStringLiteral("\n120 1 2 3 4 5 6 7 0:00:01") << 0.45;
    QTest::newRow("eight fields") << "45 1 2 3 4 5 6 0:00:01" << -1.0;
    QTest::newRow("ninth is no time") << "45 1 2 3 4 5 6 7 8 0:00:01" << -1.0;
    QTest::newRow("not a number") << "nan 1 2 3 4 5 6 7 0:00:01" << -1.0;
    QTest::newRow("scrolled out of 400 characters") << meterAt45 + u'\n' + QString(400, u'x') << -1.0;
    QTest::newRow("finished") << meterAt45 + QStringLiteral("\n✅ 安装完成\n") << -1.0;
    QTest::newRow("failed") << meterAt45 + QStringLiteral("\n❌ 安装失败 (exit code: 2)\n") << -1.0;
    QTest::newRow("mark older than 100 characters")
        << QStringLiteral("✅") + QString(100, u' ') + u'\n' + meterAt45 << 0.45;
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
        append(output, QStringLiteral("%1\n").arg(++count));
        if (count == 300)
            lines.stop();
    });
    QElapsedTimer elapsed;
    elapsed.start();
    lines.start(1ms);
    QTRY_COMPARE(count, 300);
    QTRY_VERIFY(output.displayText().endsWith(QStringLiteral("300\n")));
    QCOMPARE_LE(shown.count(), elapsed.elapsed() / 15 + 2);
    QCOMPARE_LT(shown.count(), 300);
}

void tst_TerminalOutput::clearingTellsAtOnce()
{
    TerminalOutput output;
    QSignalSpy empty(&output, &TerminalOutput::isEmptyChanged);
    append(output, QStringLiteral("x"));
    output.clear();
    QCOMPARE(empty.count(), 2);
    QCOMPARE(output.displayText(), QStringLiteral("等待输出..."));
    QSignalSpy shown(&output, &TerminalOutput::shownChanged);
    QTest::qWait(40);
    QCOMPARE(shown.count(), 0);
}

QTEST_GUILESS_MAIN(tst_TerminalOutput)
#include "tst_TerminalOutput.moc"
