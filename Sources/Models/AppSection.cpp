#include "Models/AppSection.h"

#include "Models/VocabularyTable.h"

namespace tessarin
{

namespace
{

struct Row {
    AppSection value;
    std::string_view rawText;
};

constexpr std::array table{ Row{ AppSection::build, "build" }, Row{ AppSection::imagine, "imagine" } };
static_assert(isInOrder(table) && table.size() == allAppSections.size());

} // namespace

std::string_view rawText(AppSection section)
{
    return rowOf(table, section).rawText;
}

std::optional<AppSection> appSectionFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

} // namespace tessarin
