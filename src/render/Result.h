#pragma once

#include <QString>

#include <cassert>
#include <optional>
#include <utility>

namespace velmora {

/// Why something failed, in words for the user: the message names the file (or the
/// thing) it is about, for example "beach.jpg: no such file".
struct Failure {
    QString message;
};

/// A value or the failure that kept it from being made. Decoding, rendering, loading
/// the kernel and writing files all answer with one, so a caller never has to guess
/// whether an empty string meant success.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value)
        : m_value(std::move(value)) {}
    Result(Failure failure)
        : m_failure(std::move(failure.message)) {}

    bool ok() const { return m_value.has_value(); }
    explicit operator bool() const { return ok(); }

    /// Only when ok().
    T& value() & {
        assert(ok());
        return *m_value;
    }
    const T& value() const& {
        assert(ok());
        return *m_value;
    }
    T&& value() && {
        assert(ok());
        return std::move(*m_value);
    }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    /// Empty when ok().
    const QString& message() const { return m_failure; }
    Failure failure() const { return {m_failure}; }

private:
    std::optional<T> m_value;
    QString m_failure;
};

/// Success without a value, or a failure.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure)
        : m_failed(true)
        , m_failure(std::move(failure.message)) {}

    bool ok() const { return !m_failed; }
    explicit operator bool() const { return ok(); }
    const QString& message() const { return m_failure; }
    Failure failure() const { return {m_failure}; }

private:
    bool m_failed = false;
    QString m_failure;
};

using Status = Result<void>;

} // namespace velmora
