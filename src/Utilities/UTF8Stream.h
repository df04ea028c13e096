#pragma once

#include <QUtf8StringView>
#include <functional>
#include <span>
#include <string>

/// Turns the bytes of a pipe, cut anywhere, into pieces of valid UTF-8 text. A character split
/// between two reads waits for its rest; bytes that are not UTF-8 are dropped.
class UTF8Stream
{
public:
    /// Receives each piece; its text is valid during the call only.
    using Consumer = std::function<void(QUtf8StringView)>;

    explicit UTF8Stream(Consumer consumer)
        : m_consumer(std::move(consumer))
    {
    }

    void feed(std::span<const char> bytes);

private:
    /// Takes the rest of the pending character off `piece`, which saves joining the two. False when
    /// they make no character; nothing has changed then.
    bool deliverSplitCharacter(std::string_view &piece);
    void deliver(std::string_view piece);
    void deliverValidCharacters(std::string_view piece);

    Consumer m_consumer;
    std::string m_pending;
};

/// Length of the part of `bytes` that ends with a whole character: shorter than `bytes` by up to
/// three bytes when the end cuts one off.
std::size_t wholeCharactersLength(std::string_view bytes);

/// Moves the valid characters to the front and returns their length in bytes.
std::size_t keepValidCharacters(std::span<char> bytes);
