#pragma once

#include "Imagine/ImagineItem.h"
#include "Models/ConnectionState.h"
#include "Views/ImagineFormat.h"

#include <QString>

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The texts and rules of the gallery and of what makes one more creation.
namespace ImagineRules
{

// The number, then " creation", with an "s" unless it is one.
[[nodiscard]] QString countLabel(int count);
[[nodiscard]] ImagineFormat::Value format(ImagineKind kind);
[[nodiscard]] ImagineKind kind(ImagineFormat::Value format);
// The beginning of a prompt, more than two lines and a tool tip have room for, so that no card lays out a whole book.
[[nodiscard]] QString excerpt(const QString& prompt);
// The trimmed draft, when it may leave its field; absent keeps it. A runtime that starts holds nothing back: generating then starts over.
[[nodiscard]] std::optional<std::string> promptToGenerate(std::string_view draft, const ConnectionState& state);

} // namespace ImagineRules

} // namespace tessarin
