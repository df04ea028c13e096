#include "UpdateScript.h"

#include <algorithm>

QByteArray updateScript(qint64 processId, const QString &newBundle, const QString &currentBundle,
                        const QString &temporaryFolder)
{
    // One pass, so that a path that holds a placeholder stays as it is.
    return QStringLiteral(R"script(#!/bin/bash
# Vaelix 自动更新脚本
CURRENT_PID=%1
NEW_APP="%2"
OLD_APP="%3"

echo "等待 Vaelix 退出 (PID: $CURRENT_PID)..."

# 等待旧进程退出（最多30秒）
for i in $(seq 1 30); do
    if ! kill -0 $CURRENT_PID 2>/dev/null; then
        break
    fi
    sleep 1
done

# 备份旧版本
BACKUP="${OLD_APP}.backup"
if [ -d "$OLD_APP" ]; then
    rm -rf "$BACKUP"
    mv "$OLD_APP" "$BACKUP"
    echo "旧版本已备份到: $BACKUP"
fi

# 移动新版本到位
mv "$NEW_APP" "$OLD_APP"

if [ $? -eq 0 ]; then
    echo "更新成功，正在启动新版本..."
    rm -rf "$BACKUP"
    open "$OLD_APP"
else
    echo "更新失败，正在恢复旧版本..."
    mv "$BACKUP" "$OLD_APP"
    open "$OLD_APP"
fi

# 清理临时目录
rm -rf "%4")script")
        .arg(QString::number(processId), newBundle, currentBundle, temporaryFolder)
        .toUtf8();
}

QByteArray updateScriptMoves()
{
    return QByteArrayLiteral(R"script(unset BASH_ENV

copy_and_rename()
{
    rm -rf "$2.incomplete" && cp -aT "$1" "$2.incomplete" && sync -f "$2.incomplete" && command mv -T "$2.incomplete" "$2"
}

mv()
{
    if [ -e "$2" ] || [ -L "$2" ]; then
        return 1
    elif [ "${1%/*}" = "${2%/*}" ]; then
        command mv -T "$1" "$2"
    elif copy_and_rename "$1" "$2"; then
        sync -f "$2"
    else
        rm -rf "$2.incomplete"
        return 1
    fi
}
)script");
}

bool isFitForUpdateScript(const QString &path)
{
    const auto isSpecial = [](QChar character) {
        return character == u'"' || character == u'$' || character == u'`' || character == u'\\' || character.isNull();
    };
    return std::ranges::none_of(path, isSpecial);
}
