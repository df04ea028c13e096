#include "TokenTab.h"

QString TokenTab::rawValue(Value tab)
{
    constexpr std::array<QStringView, 3> titles{u"购买套餐", u"消费记录", u"API 接入"};
    return titles.at(tab).toString();
}
