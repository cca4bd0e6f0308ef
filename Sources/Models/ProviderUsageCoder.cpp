#include "Models/ProviderUsageCoder.h"

#include <utility>

namespace tessarin
{

namespace
{

namespace keys
{
constexpr const char* provider = "provider";
constexpr const char* primaryUsedPercent = "primaryUsedPercent";
constexpr const char* secondaryUsedPercent = "secondaryUsedPercent";
constexpr const char* resetsAt = "resetsAt";
constexpr const char* planType = "planType";
constexpr const char* exhausted = "exhausted";
} // namespace keys

// Reads an optional field with the reader of its type. False for a value of another type; nothing and null leave the field absent.
template <class Field, class Reader>
bool readOptional(Field& field, const JsonObject& object, const char* key, Reader read)
{
    const Json* value = object.if_contains(key);
    if (!value || value->is_null()) {
        return true;
    }
    if (const auto found = read(object, key)) {
        field.emplace(*found);
        return true;
    }
    return false;
}

} // namespace

JsonObject encodeProviderUsage(const ProviderUsage& usage)
{
    const std::string_view provider = rawText(usage.provider);
    JsonObject object;
    object[keys::provider] = boost::json::string_view(provider.data(), provider.size());
    if (usage.primaryUsedPercent) {
        object[keys::primaryUsedPercent] = *usage.primaryUsedPercent;
    }
    if (usage.secondaryUsedPercent) {
        object[keys::secondaryUsedPercent] = *usage.secondaryUsedPercent;
    }
    if (usage.resetsAt) {
        object[keys::resetsAt] = usage.resetsAt->secondsSince2001;
    }
    if (usage.planType) {
        object[keys::planType] = *usage.planType;
    }
    object[keys::exhausted] = usage.exhausted;
    return object;
}

std::optional<ProviderUsage> decodeProviderUsage(const JsonObject& object)
{
    const auto providerText = textAt(object, keys::provider);
    const auto provider = providerText ? agentProviderFromRawText(*providerText) : std::nullopt;
    const auto exhausted = booleanAt(object, keys::exhausted);
    if (!provider || !exhausted) {
        return std::nullopt;
    }
    ProviderUsage usage;
    usage.provider = *provider;
    usage.exhausted = *exhausted;
    std::optional<double> resetsAt;
    const bool isRead = readOptional(usage.primaryUsedPercent, object, keys::primaryUsedPercent, numberAt)
        && readOptional(usage.secondaryUsedPercent, object, keys::secondaryUsedPercent, numberAt)
        && readOptional(resetsAt, object, keys::resetsAt, numberAt) && readOptional(usage.planType, object, keys::planType, textAt);
    if (!isRead) {
        return std::nullopt;
    }
    if (resetsAt) {
        usage.resetsAt = Instant{ *resetsAt };
    }
    return usage;
}

} // namespace tessarin
