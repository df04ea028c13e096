#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <memory>

/// Runs the executable as a person or a script would.
class tst_DevServerProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstLineIsAnOriginThatAnswers();
    void updateImageCanBeDownloaded();
    void endsCleanlyOnASignal_data();
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

void tst_DevServerProgram::firstLineIsAnOriginThatAnswers()
{
    const QString catalog = write(QStringLiteral("catalog.json"), R"([{"id":"given"}])");
    QProcess program;
    const QByteArray line =
        start(program, {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--catalog"), catalog});
    QVERIFY2(QRegularExpression(QStringLiteral("^http://127\\.0\\.0\\.1:[1-9][0-9]*\n$"))
                 .match(QString::fromUtf8(line))
                 .hasMatch(),
             line.constData());

    QCOMPARE(bodyAt(line.trimmed() + "/api/v1/software/catalog"),
             R"({"code":0,"message":"ok","data":[{"id":"given"}]})");
    program.terminate();
    QVERIFY(program.waitForFinished());
}

void tst_DevServerProgram::updateImageCanBeDownloaded()
{
    const QString image = write(QStringLiteral("new.dmg"), "image");
    QProcess program;
    const QByteArray line =
        start(program, {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--update-image"), image});
    QCOMPARE(bodyAt(line.trimmed() + "/downloads/Vaelix.dmg"), "image");
    program.terminate();
    QVERIFY(program.waitForFinished());
}

void tst_DevServerProgram::endsCleanlyOnASignal_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void tst_DevServerProgram::endsCleanlyOnASignal()
{
    QFETCH(int, signal);
    QProcess program;
    start(program, {QStringLiteral("--port"), QStringLiteral("0")});
    QCOMPARE(::kill(static_cast<pid_t>(program.processId()), signal), 0);
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(program.readAllStandardError(), QByteArray());
}

void tst_DevServerProgram::refusesWithStatusAndReason_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("reason");
    const QString needsPort = QStringLiteral("--port 需要 0 到 65535 的整数");
    QTest::newRow("nothing") << QString() << 2 << needsPort;
    QTest::newRow("port is no number") << QStringLiteral("--port x") << 2 << needsPort;
    QTest::newRow("port too large") << QStringLiteral("--port 65536") << 2 << needsPort;
    QTest::newRow("unknown option") << QStringLiteral("--port 0 --host a") << 2
                                    << QStringLiteral("参数不对：--port 0 --host a");
    QTest::newRow("stray word") << QStringLiteral("--port 0 a") << 2 << QStringLiteral("参数不对：--port 0 a");
    QTest::newRow("port taken") << QStringLiteral("--port TAKEN") << 1
                                << QStringLiteral("无法监听端口 TAKEN：端口已被占用");
    QTest::newRow("no such catalog") << QStringLiteral("--port 0 --catalog none.json") << 1
                                     << QStringLiteral("无法读取目录文件 none.json：文件不存在");
    QTest::newRow("catalog is no JSON") << QStringLiteral("--port 0 --catalog broken.json") << 1
                                        << QStringLiteral("目录文件 broken.json 不是 JSON 数组");
    QTest::newRow("no such update image") << QStringLiteral("--port 0 --update-image none.dmg") << 1
                                          << QStringLiteral("无法读取更新镜像 none.dmg：文件不存在");
    QTest::newRow("catalog is no array") << QStringLiteral("--port 0 --catalog object.json") << 1
                                         << QStringLiteral("目录文件 object.json 不是 JSON 数组");
}

void tst_DevServerProgram::refusesWithStatusAndReason()
{
    QFETCH(QString, arguments);
    QFETCH(QString, reason);
    write(QStringLiteral("broken.json"), "[{");
    write(QStringLiteral("object.json"), "{}");
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    const QString port = QString::number(taken.serverPort());

    QProcess program;
    program.setWorkingDirectory(m_folder.path());
    program.start(QStringLiteral(DEVSERVER_PROGRAM),
                  arguments.replace(QStringLiteral("TAKEN"), port).split(u' ', Qt::SkipEmptyParts));
    QVERIFY(program.waitForFinished());
    QTEST(program.exitCode(), "status");
    const QString firstLine = QString::fromUtf8(program.readAllStandardError()).section(u'\n', 0, 0);
    QCOMPARE(firstLine, QStringLiteral("vaelix-devserver：") + reason.replace(QStringLiteral("TAKEN"), port));
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void tst_DevServerProgram::helpNamesEveryOption()
{
    QProcess program;
    program.start(QStringLiteral(DEVSERVER_PROGRAM), {QStringLiteral("--help")});
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), 0);
    const QString help = QString::fromUtf8(program.readAllStandardOutput());
    for (const auto *option : {"--port N", "--catalog FILE", "--update-image FILE", "--help"})
        QVERIFY2(help.contains(QLatin1String(option)), option);
    QVERIFY(help.contains(QStringLiteral("用法")));
}

QTEST_GUILESS_MAIN(tst_DevServerProgram)
#include "tst_DevServerProgram.moc"
