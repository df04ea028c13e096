#include "Models/SoftwareCatalog.h"
#include "Support/Table.h"
#include "Utilities/Deployment.h"

using namespace Qt::StringLiterals;

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
    QCOMPARE(entry.detectCommand, u"which a"_s);
    QCOMPARE(entry.category, SoftwareCategory::Tool);
    QCOMPARE(entry.dependencies, QStringList{u"b"_s});
    for (const QString &text : {entry.iconURL, entry.configCommand, entry.qqbotInstallCommand,
                                entry.weixinInstallCommand, entry.version, entry.upgradeCommand})
        QCOMPARE(text, QString());
    QVERIFY(entry.files.isEmpty());
}

void tst_SoftwareCatalog::badCatalogFailsWhole_data()
{
    const auto row = columns<QByteArray, QString>("json", "reason");

    row("not JSON", "[{", u"不是有效的 JSON"_s);
    row("empty", {}, u"不是有效的 JSON"_s);
    row("garbage behind it", "[] x", u"不是有效的 JSON"_s);
    row("not UTF-8", entryWith("\"A\"", "\"\xff\""), u"不是有效的 JSON"_s);
    row("no array", minimalEntry, u"应为数组"_s);
    row("element is no object", "[1]", u"第 1 项：应为对象"_s);
    row("second entry is bad", '[' + minimalEntry + ",{}]", u"第 2 项：字段 “id” 缺失"_s);
    row("key missing", entryWith(R"("detectCommand":"which a",)", ""), u"“detectCommand” 缺失"_s);
    row("required null", entryWith(R"("which a")", "null"), u"“detectCommand” 缺失"_s);
    row("number for text", entryWith("\"A\"", "5"), u"“name” 应为文本"_s);
    row("boolean for text", entryWith("\"A\"", "true"), u"“name” 应为文本"_s);
    row("optional of another type", entryWith("\"id\":\"a\"", R"("id":"a","version":1.2)"), u"“version” 应为文本"_s);
    row("unknown category", entryWith("\"tool\"", "\"Runtime\""), u"“category” 的值 “Runtime” 未知"_s);
    row("no dependencies",
        entryWith(R"(,
    "homepageURL":"h","dependencies":["b"])",
                  R"(,"homepageURL":"h")"),
        u"“dependencies” 缺失"_s);
    row("dependency is a number", entryWith("[\"b\"]", "[\"b\",3]"), u"“dependencies” 第 2 项：应为文本"_s);
    row("files is an object", entryWith("\"id\":\"a\"", R"("id":"a","files":{})"), u"“files” 应为数组"_s);
    row("file without size", entryWithFile(R"({"id":"f","file_type":"z","original_name":"n"})"), u"“file_size” 缺失"_s);
    for (const char *size : {"1.5", "true", "\"12\"", "18446744073709551615"})
        row(size, entryWithFile(QByteArray(minimalFile).replace("12", size)), u"“file_size” 应为整数"_s);
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
    entries[1].name = u"引号\" 与 \n 换行 中文 😀"_s;
    entries[1].files[0].mimeType = u"application/zip"_s;
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
    SoftwareCatalogEntry claw;
    claw.id = u"openclaw"_s;
    claw.name = u"OpenClaw"_s;
    claw.description = u"Vaelix 开源 AI 对话框架，支持本地模型与网页端交互"_s;
    claw.category = SoftwareCategory::Framework;
    claw.iconName = u"hammer.circle.fill"_s;
    claw.uninstallCommand = u"pip3 uninstall openclaw -y && rm -rf ~/.openclaw"_s;
    claw.startCommand = u"openclaw serve"_s;
    claw.stopCommand = u"pkill -f 'openclaw serve'"_s;
    claw.detectCommand = u"which openclaw"_s;
    claw.homepageURL = Deployment::webOrigin() + u"/openclaw"_s;
    SoftwareCatalogEntry hermes;
    hermes.id = u"hermes"_s;
    hermes.name = u"Hermes Agent"_s;
    hermes.description = u"Nous Research 出品的自进化 AI Agent，支持多平台网关"_s;
    hermes.category = SoftwareCategory::Framework;
    hermes.iconName = u"brain.head.profile"_s;
    hermes.uninstallCommand = u"rm -rf ~/.hermes ~/.local/bin/hermes"_s;
    hermes.startCommand = u"hermes gateway"_s;
    hermes.stopCommand = u"pkill -f 'hermes gateway'"_s;
    hermes.detectCommand = u"which hermes"_s;
    hermes.configCommand = u"bash ~/.hermes/hermes-setup.sh"_s;
    hermes.upgradeCommand = u"hermes update"_s;
    hermes.homepageURL = u"https://github.com/NousResearch/hermes-agent"_s;
    // As text, so that a failure names the field.
    QCOMPARE(SoftwareCatalog::encode(entries), SoftwareCatalog::encode({claw, hermes}));
    QCOMPARE(SoftwareCatalog::find(entries, u"Hermes"_s), nullptr);
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
    QCOMPARE(ids, QStringList({u"openclaw"_s, u"hermes"_s, u"ollama"_s, u"crewai"_s, u"stable-diffusion"_s}));
}

void tst_SoftwareCatalog::rawValues()
{
    QCOMPARE(SoftwareStatus::rawValue(SoftwareStatus::NotInstalled), u"not_installed"_s);
    QVERIFY(!SoftwareStatus::fromRawValue(u"notInstalled"));
    QVERIFY(!SoftwareCategory::fromRawValue(u"Runtime"));
    QCOMPARE(SoftwareCategory::fromRawValue(u"framework"), SoftwareCategory::Framework);
    for (int status = SoftwareStatus::NotInstalled; status <= SoftwareStatus::Error; ++status)
        QCOMPARE(SoftwareStatus::fromRawValue(SoftwareStatus::rawValue(SoftwareStatus::Value(status))), status);
}

QTEST_GUILESS_MAIN(tst_SoftwareCatalog)
#include "tst_SoftwareCatalog.moc"
