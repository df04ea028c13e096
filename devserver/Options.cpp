#include "Options.h"

#include "Seed.h"

#include <QCommandLineParser>

namespace devserver {

std::expected<Options, QString> readOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{QStringLiteral("port"), {}, QStringLiteral("N")},
                       {QStringLiteral("catalog"), {}, QStringLiteral("FILE")},
                       {QStringLiteral("update-image"), {}, QStringLiteral("FILE")},
                       {{QStringLiteral("h"), QStringLiteral("help")}, {}}});
    if (!parser.parse(arguments) || !parser.positionalArguments().isEmpty())
        return std::unexpected(QStringLiteral("参数不对：%1").arg(arguments.mid(1).join(u' ')));
    if (parser.isSet(QStringLiteral("help")))
        return Options{.help = true};
    bool isPort = false;
    const quint16 port = parser.value(QStringLiteral("port")).toUShort(&isPort);
    if (!isPort)
        return std::unexpected(QStringLiteral("--port 需要 0 到 65535 的整数"));
    const QString catalog = parser.value(QStringLiteral("catalog"));
    return Options{.port = port,
                   .catalogFile = catalog.isEmpty() ? embeddedCatalog() : catalog,
                   .updateImage = parser.value(QStringLiteral("update-image"))};
}

QString usage()
{
    return QStringLiteral("用法：vaelix-devserver --port N [--catalog FILE] [--update-image FILE]\n"
                          "\n"
                          "在本机回环地址上提供 Vaelix 的账户、支付、模型与更新接口，供开发与演示使用。\n"
                          "第一行输出服务地址，Ctrl-C 或 SIGTERM 结束。\n"
                          "\n"
                          "  --port N             监听的端口，0 表示任选一个空闲端口\n"
                          "  --catalog FILE       软件目录（JSON 数组），默认为内置目录\n"
                          "  --update-image FILE  提供下载的更新镜像，版本 1.1.0\n"
                          "  -h, --help           显示本说明\n"
                          "\n"
                          "退出状态：0 正常结束，1 启动失败，2 用法错误。\n");
}

} // namespace devserver
