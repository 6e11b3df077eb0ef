#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

// A value of an object for readers that know only names and texts.
struct FlatField {
    std::string name;
    std::string text;     // null is empty
    bool isText = false;  // not a number, nor a list, nor a truth value
};

// The values of an object in their order. A member of an inner object has the name of that object and "_" in front. A
// list must have words only; they have blanks between them.
std::vector<FlatField> flatFields(const nlohmann::ordered_json& object);
