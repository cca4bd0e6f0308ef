#include "App/ProbeLimit.h"

#include <cassert>

namespace tessarin
{

void ProbeLimit::run(const Program& program, Start start)
{
    UnderWay& underWay = m_programs[program];
    if (underWay.count == atOnce) {
        underWay.waiting = std::move(start);
        return;
    }
    ++underWay.count;
    start();
}

void ProbeLimit::end(const Program& program)
{
    const auto found = m_programs.find(program);
    assert(found != m_programs.end());
    const Start next = std::exchange(found->second.waiting, {});
    if (--found->second.count == 0) {
        m_programs.erase(found);
    }
    if (next) {
        run(program, next);
    }
}

} // namespace tessarin
