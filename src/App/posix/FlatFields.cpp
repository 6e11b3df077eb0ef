#include "FlatFields.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string joined(const Json& words) {
    std::string text;
    for (const Json& word : words) {
        text += (text.empty() ? "" : " ") + word.get<std::string>();
    }
    return text;
}

std::string textOf(const Json& value) {
    if (value.is_null()) {
        return std::string();
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    return value.is_array() ? joined(value) : value.dump();
}

void append(const Json& object, const std::string& prefix, std::vector<FlatField>& fields) {
    for (const auto& [key, value] : object.items()) {
        if (value.is_object()) {
            append(value, prefix + key + '_', fields);
        } else {
            fields.push_back({prefix + key, textOf(value), value.is_string()});
        }
    }
}

}  // namespace

std::vector<FlatField> flatFields(const Json& object) {
    std::vector<FlatField> fields;
    append(object, "", fields);
    return fields;
}
