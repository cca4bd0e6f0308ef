#pragma once

#include <cassert>
#include <type_traits>
#include <utility>
#include <variant>

namespace tessarin
{

// The failure side of a Result: `return Failure{ error };`
template <class E>
struct Failure {
    E error;
};
template <class E>
Failure(E) -> Failure<E>;

// What can fail carries its value or its error. `T` may be `void`.
template <class T, class E>
class [[nodiscard]] Result
{
public:
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    Result() requires std::is_void_v<T>
    = default;
    // Implicit on purpose, so that a function returns its value or a Failure as it stands.
    Result(Value value) : m_state(std::in_place_index<0>, std::move(value)) { }
    template <class F>
    Result(Failure<F> failure) : m_state(std::in_place_index<1>, std::move(failure.error))
    {
    }

    [[nodiscard]] bool isSuccess() const { return m_state.index() == 0; }
    explicit operator bool() const { return isSuccess(); }

    // Requires: isSuccess().
    [[nodiscard]] const Value& value() const&
    {
        assert(isSuccess());
        return std::get<0>(m_state);
    }
    [[nodiscard]] Value&& value() &&
    {
        assert(isSuccess());
        return std::get<0>(std::move(m_state));
    }
    // Requires: !isSuccess().
    [[nodiscard]] const E& error() const
    {
        assert(!isSuccess());
        return std::get<1>(m_state);
    }

private:
    std::variant<Value, E> m_state;
};

} // namespace tessarin
