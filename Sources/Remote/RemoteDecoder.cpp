#include "Platform/Json.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteFields.h"

#include <cmath>

namespace tessarin
{

namespace
{

// Reads a value into a field of its type; false for a value of another type, what has been read is then of no use.
struct FieldReader {
    static bool read(const Json& value, std::string& field)
    {
        if (const auto* text = value.if_string()) {
            field.assign(text->data(), text->size());
            return true;
        }
        return false;
    }

    static bool read(const Json& value, bool& field)
    {
        if (const bool* flag = value.if_bool()) {
            field = *flag;
            return true;
        }
        return false;
    }

    static bool read(const Json& value, double& field)
    {
        if (const double* fraction = value.if_double()) {
            field = *fraction;
        } else if (const std::int64_t* whole = value.if_int64()) {
            field = static_cast<double>(*whole);
        } else if (const std::uint64_t* large = value.if_uint64()) {
            field = static_cast<double>(*large);
        } else {
            return false;
        }
        return true;
    }

    // JSON has one type of number: 2.0 and 2e0 are the integer 2, as writers of other languages may spell it.
    static bool read(const Json& value, std::int64_t& field)
    {
        if (const std::int64_t* whole = value.if_int64()) {
            field = *whole;
            return true;
        }
        const double* number = value.if_double();
        // Larger doubles are whole because they have no digits left for a fraction.
        constexpr double largestExact = 9007199254740992;
        if (!number || std::abs(*number) >= largestExact || std::trunc(*number) != *number) {
            return false;
        }
        field = static_cast<std::int64_t>(*number);
        return true;
    }

    template <class Value>
    static bool read(const Json& value, Shared<Value>& field)
    {
        Value inner;
        if (!read(value, inner)) {
            return false;
        }
        field = Shared<Value>(std::move(inner));
        return true;
    }

    template <class Value>
    static bool read(const Json& value, std::vector<Value>& field)
    {
        const JsonArray* array = value.if_array();
        if (!array) {
            return false;
        }
        for (const Json& element : *array) {
            if (!read(element, field.emplace_back())) {
                return false;
            }
        }
        return true;
    }

    static bool read(const Json& value, std::vector<RemoteThread::Run>& field)
    {
        std::vector<RemoteChatEntry> entries;
        if (!read(value, entries)) {
            return false;
        }
        if (!entries.empty()) {
            field.emplace_back(std::move(entries));
        }
        return true;
    }

    template <RemoteRecord Record>
    static bool read(const Json& value, Record& record)
    {
        const JsonObject* object = value.if_object();
        return object
            && std::apply([&](const auto&... fields) { return (readField(*object, fields.key, record.*fields.member) && ...); },
                RemoteFields<Record>::list);
    }

    template <class Value>
    static bool readField(const JsonObject& object, std::string_view key, Value& field)
    {
        const Json* value = object.if_contains(boost::json::string_view(key.data(), key.size()));
        return value && read(*value, field);
    }

    template <class Value>
    static bool readField(const JsonObject& object, std::string_view key, std::optional<Value>& field)
    {
        field.reset();
        const Json* value = object.if_contains(boost::json::string_view(key.data(), key.size()));
        return !value || value->is_null() || read(*value, field.emplace());
    }
};

} // namespace

std::optional<RemoteEnvelope> decodeRemoteEnvelope(std::string_view json)
{
    const auto document = parseJson(json);
    RemoteEnvelope envelope;
    if (!document || !FieldReader::read(*document, envelope)) {
        return std::nullopt;
    }
    return envelope;
}

} // namespace tessarin
