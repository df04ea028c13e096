#include "SoftwareEnums.h"

namespace {

struct Texts {
    QStringView rawValue;
    QStringView displayName;
};

constexpr std::array categoryTexts{
    Texts{u"runtime", u"运行时"},
    Texts{u"model", u"模型"},
    Texts{u"tool", u"工具"},
    Texts{u"framework", u"框架"},
};

constexpr std::array statusTexts{
    Texts{u"not_installed", u"未安装"}, Texts{u"installed", u"已安装"},  Texts{u"running", u"运行中"},
    Texts{u"stopped", u"已停止"},       Texts{u"installing", u"安装中"}, Texts{u"uninstalling", u"卸载中"},
    Texts{u"upgrading", u"升级中"},     Texts{u"error", u"异常"},
};

template<typename Value, std::size_t Size>
std::optional<Value> caseOf(const std::array<Texts, Size> &table, QStringView rawValue)
{
    for (std::size_t index = 0; index < Size; ++index)
        if (table[index].rawValue == rawValue)
            return Value(index);
    return {};
}

} // namespace

QString SoftwareCategory::rawValue(Value category)
{
    return categoryTexts.at(category).rawValue.toString();
}

std::optional<SoftwareCategory::Value> SoftwareCategory::fromRawValue(QStringView rawValue)
{
    return caseOf<Value>(categoryTexts, rawValue);
}

QString SoftwareCategory::displayName(Value category)
{
    return categoryTexts.at(category).displayName.toString();
}

QString SoftwareStatus::rawValue(Value status)
{
    return statusTexts.at(status).rawValue.toString();
}

std::optional<SoftwareStatus::Value> SoftwareStatus::fromRawValue(QStringView rawValue)
{
    return caseOf<Value>(statusTexts, rawValue);
}

QString SoftwareStatus::displayName(Value status)
{
    return statusTexts.at(status).displayName.toString();
}

bool SoftwareStatus::isInProgress(Value status)
{
    return status == Installing || status == Uninstalling || status == Upgrading;
}

bool SoftwareStatus::isUsable(Value status)
{
    return status == Installed || status == Running || status == Stopped;
}
