#pragma once

#include "Models/Workspace.h"
#include "SampleTree.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessarin
{

// The tree that is saved under a number: the number tells all of it, so that a stored tree shows whether it was ever saved.
inline std::vector<Workspace> numberedTree(std::uint64_t number)
{
    RandomTree random(number);
    std::vector<Workspace> tree{ random.workspace("/", 6, 40, 120) };
    tree[0].threads.push_back(random.thread(10, 10));
    tree[0].name = std::to_string(number);
    return tree;
}

inline std::uint64_t numberOf(const std::vector<Workspace>& tree)
{
    return tree.empty() ? 0 : std::stoull(tree[0].name);
}

} // namespace tessarin
