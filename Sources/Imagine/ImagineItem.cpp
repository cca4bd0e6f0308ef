#include "Imagine/ImagineItem.h"

#include "Models/VocabularyTable.h"

#include <utility>

namespace tessarin
{

namespace
{

struct Row {
    ImagineKind value;
    std::string_view rawText;
};

constexpr std::array table{ Row{ ImagineKind::image, "image" }, Row{ ImagineKind::video, "video" } };
static_assert(isInOrder(table) && table.size() == allImagineKinds.size());

} // namespace

std::string_view rawText(ImagineKind kind)
{
    return rowOf(table, kind).rawText;
}

std::optional<ImagineKind> imagineKindFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

ImagineItem ImagineItem::make(ImagineKind kind, std::string prompt, std::string localPath, std::string fileName)
{
    return { .id = Uuid::random(),
        .kind = kind,
        .prompt = std::move(prompt),
        .localPath = std::move(localPath),
        .fileName = std::move(fileName),
        .createdAt = Instant::now() };
}

} // namespace tessarin
