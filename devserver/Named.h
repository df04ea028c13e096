#pragma once

#include <QByteArray>
#include <algorithm>
#include <array>
#include <string_view>

namespace devserver {

/// A value and the word that stands for it in requests, answers and pages.
template<typename T> struct Named {
    std::string_view name;
    T value;
};

/// The word for `value`, which must have one.
template<typename T, std::size_t N> QByteArray nameOf(const std::array<Named<T>, N> &words, const T &value)
{
    const auto word = std::ranges::find(words, value, &Named<T>::value);
    return QByteArray(word->name.data(), qsizetype(word->name.size()));
}

} // namespace devserver
