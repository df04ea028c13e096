#include "Support/Table.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryDir>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

/// Runs the executable as a person or a script would.
class tst_DevServerProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstLineIsAnOriginThatServesTheGivenFiles();
    void endsCleanlyOnASignal();
    void refusesWithStatusAndReason_data();
    void refusesWithStatusAndReason();
    void helpNamesEveryOption();

private:
    QString write(const QString &name, const QByteArray &content) const;
    QByteArray start(QProcess &program, const QStringList &arguments) const;
    static QByteArray bodyAt(const QByteArray &address);

    QTemporaryDir m_folder;
};

QString tst_DevServerProgram::write(const QString &name, const QByteArray &content) const
{
    QFile file(m_folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

/// Gives the first line once it is there.
QByteArray tst_DevServerProgram::start(QProcess &program, const QStringList &arguments) const
{
    program.start(QStringLiteral(DEVSERVER_PROGRAM), arguments);
    if (!QTest::qWaitFor([&] { return program.canReadLine(); }))
        qFatal("no first line: %s", program.readAllStandardError().constData());
    return program.readLine();
}

QByteArray tst_DevServerProgram::bodyAt(const QByteArray &address)
{
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(QUrl::fromEncoded(address))));
    if (!QTest::qWaitFor([&] { return reply->isFinished(); }))
        qFatal("no answer from %s", address.constData());
    return reply->readAll();
}

void tst_DevServerProgram::firstLineIsAnOriginThatServesTheGivenFiles()
{
    QProcess program;
    const QByteArray line = start(program,
                                  {u"--port"_s, u"0"_s, u"--catalog"_s, write(u"c.json"_s, R"([{"id":"c"}])"),
                                   u"--update-image"_s, write(u"new.dmg"_s, "image")});
    QVERIFY2(QRegularExpression(u"^http://127\\.0\\.0\\.1:[1-9][0-9]*\n$"_s).match(QString::fromUtf8(line)).hasMatch(),
             line.constData());
    QCOMPARE(bodyAt(line.trimmed() + "/api/v1/software/catalog"), R"({"code":0,"message":"ok","data":[{"id":"c"}]})");
    QCOMPARE(bodyAt(line.trimmed() + "/downloads/Vaelix.dmg"), "image");
    program.terminate();
    QVERIFY(program.waitForFinished());
}

void tst_DevServerProgram::endsCleanlyOnASignal()
{
    for (const int signal : {SIGTERM, SIGINT}) {
        QProcess program;
        start(program, {u"--port"_s, u"0"_s});
        QCOMPARE(::kill(static_cast<pid_t>(program.processId()), signal), 0);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray());
    }
}

void tst_DevServerProgram::refusesWithStatusAndReason_data()
{
    const auto row = columns<QString, int, QString>("arguments", "status", "reason");
    const QString needsPort = u"--port 需要 0 到 65535 的整数"_s;
    row("nothing", {}, 2, needsPort);
    row("port is no number", u"--port x"_s, 2, needsPort);
    row("port too large", u"--port 65536"_s, 2, needsPort);
    row("unknown option", u"--port 0 --host a"_s, 2, u"参数不对：--port 0 --host a"_s);
    row("stray word", u"--port 0 a"_s, 2, u"参数不对：--port 0 a"_s);
    row("port taken", u"--port TAKEN"_s, 1, u"无法监听端口 TAKEN：端口已被占用"_s);
    row("no such catalog", u"--port 0 --catalog none.json"_s, 1, u"无法读取目录文件 none.json：文件不存在"_s);
    row("catalog is no JSON", u"--port 0 --catalog broken.json"_s, 1, u"目录文件 broken.json 不是 JSON 数组"_s);
    row("no such update image", u"--port 0 --update-image none.dmg"_s, 1, u"无法读取更新镜像 none.dmg：文件不存在"_s);
    row("catalog is no array", u"--port 0 --catalog object.json"_s, 1, u"目录文件 object.json 不是 JSON 数组"_s);
}

void tst_DevServerProgram::refusesWithStatusAndReason()
{
    QFETCH(QString, arguments);
    QFETCH(QString, reason);
    write(u"broken.json"_s, "[{");
    write(u"object.json"_s, "{}");
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    const QString port = QString::number(taken.serverPort());

    QProcess program;
    program.setWorkingDirectory(m_folder.path());
    program.start(QStringLiteral(DEVSERVER_PROGRAM),
                  arguments.replace(u"TAKEN"_s, port).split(u' ', Qt::SkipEmptyParts));
    QVERIFY(program.waitForFinished());
    QTEST(program.exitCode(), "status");
    const QString firstLine = QString::fromUtf8(program.readAllStandardError()).section(u'\n', 0, 0);
    QCOMPARE(firstLine, u"vaelix-devserver："_s + reason.replace(u"TAKEN"_s, port));
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void tst_DevServerProgram::helpNamesEveryOption()
{
    QProcess program;
    program.start(QStringLiteral(DEVSERVER_PROGRAM), {u"--help"_s});
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), 0);
    const QString help = QString::fromUtf8(program.readAllStandardOutput());
    for (const auto *option : {"--port N", "--catalog FILE", "--update-image FILE", "--help"})
        QVERIFY2(help.contains(QLatin1String(option)), option);
    QVERIFY(help.contains(u"用法"_s));
}

QTEST_GUILESS_MAIN(tst_DevServerProgram)
#include "tst_DevServerProgram.moc"
