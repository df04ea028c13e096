#include "ManyEntries.h"

static SoftwareCatalogEntry makeEntry(int number)
{
    const QString id = QStringLiteral("program-%1").arg(number);
    SoftwareCatalogEntry entry{
        .id = id,
        .name = QStringLiteral("Program %1").arg(number),
        .description = QStringLiteral("第 %1 个开源 AI 对话框架，支持本地模型与网页端交互").arg(number),
        .category = SoftwareCategory::allCases[size_t(number) % SoftwareCategory::allCases.size()],
        .iconName = QStringLiteral("cpu"),
        .installCommand =
            QStringLiteral("npm install -g --prefix ~/.%1 %1@1.%2.0 && echo \"已安装\"").arg(id).arg(number % 9),
        .uninstallCommand = QStringLiteral("rm -rf ~/.%1 ~/.local/bin/%1").arg(id),
        .startCommand = QStringLiteral("nohup %1 serve >~/.%1/log 2>&1 &").arg(id),
        .stopCommand = QStringLiteral("pkill -f '%1 serve'").arg(id),
        .version = QStringLiteral("1.%1.0").arg(number % 9),
        .upgradeCommand = QStringLiteral("npm install -g --prefix ~/.%1 %1@latest").arg(id),
        .homepageURL = QStringLiteral("https://%1.example/docs").arg(id),
        .dependencies = {QStringLiteral("program-0")},
    };
    if (number % 10 == 0)
        entry.files = {{.id = id + QStringLiteral("-file"),
                        .fileType = QStringLiteral("archive"),
                        .originalName = id + QStringLiteral(".tar.gz"),
                        .fileSize = number,
                        .description = QStringLiteral("安装包")}};
    return entry;
}

SoftwareCatalog::Entries manyEntries(int count)
{
    SoftwareCatalog::Entries entries;
    for (int number = 0; number < count; ++number)
        entries.append(makeEntry(number));
    return entries;
}
