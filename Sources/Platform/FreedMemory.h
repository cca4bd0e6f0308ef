#pragma once

namespace tessarin
{

// Gives memory back to the system that has been freed and is held for the next time. Takes some milliseconds. Any thread.
void giveBackFreedMemory();

} // namespace tessarin
