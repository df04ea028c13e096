#include "Models/SoftwareCatalog.h"

#include <QTest>

namespace {

const QByteArray minimalEntry = R"({"id":"a","name":"A","description":"d","category":"tool","iconName":"cpu",
    "installCommand":"i","uninstallCommand":"u","startCommand":"s","stopCommand":"t","detectCommand":"which a",
    "homepageURL":"h","dependencies":["b"]})";

const QByteArray minimalFile = R"({"id":"f","file_type":"zip","original_name":"n","file_size":12})";

/// The minimal entry with its first `from` replaced.
QByteArray entryWith(const QByteArray &from, const QByteArray &to)
{
    QByteArray json = minimalEntry;
    return '[' + json.replace(json.indexOf(from), from.size(), to) + ']';
}

QByteArray entryWithFile(QByteArray file)
{
    return entryWith("\"id\":\"a\"", "\"id\":\"a\",\"files\":[" + file + ']');
}

} // namespace

class tst_SoftwareCatalog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entryWithoutOptionalKeysHasDefaults();
    void badCatalogFailsWhole_data();
    void badCatalogFailsWhole();
    void explicitNullIsTheSameAsMissing();
    void encodingWritesAllKeysInOrderAndComesBackEqual();
    void builtInEntries();
    void shippedCatalogDecodes();
    void rawValues();
};

void tst_SoftwareCatalog::entryWithoutOptionalKeysHasDefaults()
{
    const auto entries = SoftwareCatalog::decode('[' + minimalEntry + ']');
    QVERIFY2(entries, qUtf8Printable(entries ? QString() : entries.error().description));
    const SoftwareCatalogEntry &entry = entries->first();
    QCOMPARE(entry.detectCommand, QStringLiteral("which a"));
    QCOMPARE(entry.category, SoftwareCategory::Tool);
    QCOMPARE(entry.dependencies, QStringList{QStringLiteral("b")});
    for (const QString &text : {entry.iconURL, entry.configCommand, entry.qqbotInstallCommand,
                                entry.weixinInstallCommand, entry.version, entry.upgradeCommand})
        QCOMPARE(text, QString());
    QVERIFY(entry.files.isEmpty());
}

void tst_SoftwareCatalog::badCatalogFailsWhole_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("reason");

    QTest::newRow("not JSON") << QByteArray("[{") << "不是有效的 JSON";
    QTest::newRow("empty") << QByteArray() << "不是有效的 JSON";
    QTest::newRow("garbage behind it") << QByteArray("[] x") << "不是有效的 JSON";
    QTest::newRow("not UTF-8") << entryWith("\"A\"", "\"\xff\"") << "不是有效的 JSON";
    QTest::newRow("no array") << minimalEntry << "应为数组";
    QTest::newRow("element is no object") << QByteArray("[1]") << "第 1 项：应为对象";
    QTest::newRow("second entry is bad") << '[' + minimalEntry + ",{}]" << "第 2 项：字段 “id” 缺失";
    QTest::newRow("key missing") << entryWith(R"("detectCommand":"which a",)", "") << "“detectCommand” 缺失";
    QTest::newRow("required null") << entryWith(R"("which a")", "null") << "“detectCommand” 缺失";
    QTest::newRow("number for text") << entryWith("\"A\"", "5") << "“name” 应为文本";
    QTest::newRow("boolean for text") << entryWith("\"A\"", "true") << "“name” 应为文本";
    QTest::newRow("optional of another type")
        << entryWith("\"id\":\"a\"", R"("id":"a","version":1.2)") << "“version” 应为文本";
    QTest::newRow("unknown category") << entryWith("\"tool\"", "\"Runtime\"") << "“category” 的值 “Runtime” 未知";
    QTest::newRow("no dependencies") << entryWith(R"(,
    "homepageURL":"h","dependencies":["b"])",
                                                  R"(,"homepageURL":"h")")
                                     << "“dependencies” 缺失";
    QTest::newRow("dependency is a number") << entryWith("[\"b\"]", "[\"b\",3]") << "“dependencies” 第 2 项：应为文本";
    QTest::newRow("files is an object") << entryWith("\"id\":\"a\"", R"("id":"a","files":{})") << "“files” 应为数组";
    QTest::newRow("file without size") << entryWithFile(R"({"id":"f","file_type":"z","original_name":"n"})")
                                       << "“file_size” 缺失";
    for (const char *size : {"1.5", "true", "\"12\"", "18446744073709551615"})
        QTest::newRow(size) << entryWithFile(QByteArray(minimalFile).replace("12", size)) << "“file_size” 应为整数";
}

void tst_SoftwareCatalog::badCatalogFailsWhole()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, reason);
    const auto entries = SoftwareCatalog::decode(json);
    QVERIFY(!entries);
    QVERIFY2(entries.error().description.contains(reason), qUtf8Printable(entries.error().description));
}

void tst_SoftwareCatalog::explicitNullIsTheSameAsMissing()
{
    const auto entries = SoftwareCatalog::decode(entryWith("\"id\":\"a\"", R"("id":"a","iconURL":null,"files":null)"));
    QVERIFY(entries);
    QCOMPARE(*entries, SoftwareCatalog::decode('[' + minimalEntry + ']').value());
}

void tst_SoftwareCatalog::encodingWritesAllKeysInOrderAndComesBackEqual()
{
    auto entries = SoftwareCatalog::decode(entryWithFile(minimalFile)).value();
    entries.append(entries.first());
    entries[1].name = QStringLiteral("引号\" 与 \n 换行 中文 😀");
    entries[1].files[0].mimeType = QStringLiteral("application/zip");
    const QByteArray json = SoftwareCatalog::encode(entries);
    QCOMPARE(SoftwareCatalog::decode(json).value(), entries);
    QVERIFY(json.startsWith(
        R"([{"id":"a","name":"A","description":"d","category":"tool","iconName":"cpu","iconURL":"","installCommand":"i",)"
        R"("uninstallCommand":"u","startCommand":"s","stopCommand":"t","detectCommand":"which a","configCommand":"",)"
        R"("qqbotInstallCommand":"","weixinInstallCommand":"","version":"","upgradeCommand":"","homepageURL":"h",)"
        R"("dependencies":["b"],"files":[{"id":"f","file_type":"zip","original_name":"n","file_size":12}]},)"));
}

void tst_SoftwareCatalog::builtInEntries()
{
    const auto &entries = SoftwareCatalog::defaultCatalog();
    QCOMPARE(entries.size(), 2);
    for (const SoftwareCatalogEntry &entry : entries) {
        QCOMPARE(entry.category, SoftwareCategory::Framework);
        QVERIFY(entry.installCommand.isEmpty());
    }
    QCOMPARE(SoftwareCatalog::find(entries, QStringLiteral("openclaw"))->startCommand,
             QStringLiteral("openclaw serve"));
    QCOMPARE(SoftwareCatalog::find(entries, QStringLiteral("hermes"))->upgradeCommand, QStringLiteral("hermes update"));
    QCOMPARE(SoftwareCatalog::find(entries, QStringLiteral("Hermes")), nullptr);
}

void tst_SoftwareCatalog::shippedCatalogDecodes()
{
    QFile file(QStringLiteral(VAELIX_SHIPPED_CATALOG));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const auto entries = SoftwareCatalog::decode(file.readAll());
    QVERIFY2(entries, qUtf8Printable(entries ? QString() : entries.error().description));
    QStringList ids;
    for (const SoftwareCatalogEntry &entry : *entries) {
        ids.append(entry.id);
        QVERIFY2(!entry.installCommand.isEmpty() && !entry.uninstallCommand.isEmpty() && !entry.detectCommand.isEmpty(),
                 qUtf8Printable(entry.id));
    }
    QCOMPARE(ids,
             QStringList({QStringLiteral("openclaw"), QStringLiteral("hermes"), QStringLiteral("ollama"),
                          QStringLiteral("crewai"), QStringLiteral("stable-diffusion")}));
}

void tst_SoftwareCatalog::rawValues()
{
    QCOMPARE(SoftwareStatus::rawValue(SoftwareStatus::NotInstalled), QStringLiteral("not_installed"));
    QVERIFY(!SoftwareStatus::fromRawValue(u"notInstalled"));
    QVERIFY(!SoftwareCategory::fromRawValue(u"Runtime"));
    QCOMPARE(SoftwareCategory::fromRawValue(u"framework"), SoftwareCategory::Framework);
    for (int status = SoftwareStatus::NotInstalled; status <= SoftwareStatus::Error; ++status)
        QCOMPARE(SoftwareStatus::fromRawValue(SoftwareStatus::rawValue(SoftwareStatus::Value(status))), status);
}

QTEST_GUILESS_MAIN(tst_SoftwareCatalog)
#include "tst_SoftwareCatalog.moc"
