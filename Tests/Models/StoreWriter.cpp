#include "Models/WorkspaceStore.h"
#include "NumberedTree.h"

#include <cstdio>
#include <unistd.h>

// Saves one numbered tree after another until it is killed: StoreWriter <configuration folder> <data folder>. Each number whose tree is
// known to be stored goes to the standard output, eight bytes each.
int main(int argumentCount, char** arguments)
{
    using namespace tessarin;
    if (argumentCount != 3) {
        return 2;
    }
    Preferences preferences({ arguments[1], arguments[2] });
    WorkspaceStore store(preferences);
    TreeChanges changes;
    for (std::uint64_t number = numberOf(store.load()) + 1;; ++number) {
        const std::vector<Workspace> tree = numberedTree(number);
        store.save(tree, changes);
        // Now and then several saves wait for one write.
        if (number % 3 != 0) {
            preferences.flush();
            if (write(STDOUT_FILENO, &number, sizeof number) != sizeof number) {
                return 1;
            }
        }
    }
}
