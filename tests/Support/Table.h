#pragma once

#include <QTest>

/// Gives the table of a data-driven test its columns; what it gives adds a row: its name, then a value for each.
template<typename... Types, typename... Names> auto columns(const Names *...names)
{
    static_assert(sizeof...(Types) == sizeof...(Names));
    (QTest::addColumn<Types>(names), ...);
    return [](const char *name, const Types &...values) { (QTest::newRow(name) << ... << values); };
}
