#pragma once

#include "Platform/Result.h"
#include "Services/AgentError.h"

#include <cassert>
#include <functional>
#include <memory>
#include <utility>

namespace tessarin
{

// The callback that a flow owes its caller: exactly one call, whichever way the flow ends. The copies of one completion share the
// debt. Debug builds stop the program when it is taken twice, or when the last copy goes and it was neither taken nor abandoned.
template <class T>
class Completion
{
public:
    using Function = std::function<void(Result<T, AgentError>)>;

    // An empty function is owed all the same, and calling it does nothing.
    explicit Completion(Function function) : m_debt(std::make_shared<Debt>(std::move(function))) { }

    // Hands out the callback, which settles the debt: who takes it sees to the call.
    [[nodiscard]] Function take() const
    {
        assert(m_debt->isOwed && "a flow ended twice");
        m_debt->isOwed = false;
        return std::exchange(m_debt->function, {});
    }
    // For a flow whose client went away without `stop`: nobody is called.
    void abandon() const
    {
        m_debt->isOwed = false;
        m_debt->function = {};
    }

private:
    struct Debt {
        explicit Debt(Function callback) : function(std::move(callback)) { }
        ~Debt() { assert(!isOwed && "a flow ended without its completion"); }
        Debt(const Debt&) = delete;
        Debt& operator=(const Debt&) = delete;
        Function function;
        bool isOwed = true;
    };
    std::shared_ptr<Debt> m_debt;
};

} // namespace tessarin
