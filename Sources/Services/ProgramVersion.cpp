#include "Services/ProgramVersion.h"

namespace tessarin
{

std::string_view programVersion()
{
    return TESSARIN_VERSION;
}

} // namespace tessarin
