#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

/// A validator for the keywords of JSON Schema that the project's own schema uses. Any other keyword is a fault.
class JsonSchema {
 public:
  using Json = nlohmann::json;

  explicit JsonSchema(Json schema) : root_(std::move(schema)) {}

  /// @return the first fault with its place, "/cameras/0/read: not of type integer"; empty when there is none
  std::string FaultIn(const Json& value) const { return FaultIn(value, root_, ""); }

 private:
  std::string FaultIn(const Json& value, const Json& schema, const std::string& at) const {
    for (const auto& [keyword, rule] : schema.items()) {
      const std::string fault = FaultBy(keyword, rule, value, schema, at);
      if (!fault.empty()) return fault;
    }
    return {};
  }

  std::string FaultBy(const std::string& keyword, const Json& rule, const Json& value, const Json& schema,
                      const std::string& at) const {
    static const std::set<std::string> silent{"$schema", "$defs", "title", "properties"};  // the last: see Members
    if (silent.contains(keyword)) return keyword == "properties" ? Members(value, schema, at) : "";
    if (keyword == "$ref") return FaultIn(value, root_.at(Json::json_pointer(rule.get<std::string>().substr(1))), at);
    if (keyword == "type") return IsOfType(value, rule) ? "" : at + ": not of type " + rule.get<std::string>();
    if (keyword == "enum") return std::count(rule.begin(), rule.end(), value) ? "" : at + ": not a listed value";
    if (keyword == "additionalProperties") return schema.contains("properties") ? "" : Members(value, schema, at);
    if (keyword == "required") {
      for (const auto& name : rule)
        if (value.is_object() && !value.contains(name)) return at + ": lacks " + name.get<std::string>();
      return {};
    }
    if (keyword == "items") {
      for (std::size_t i = 0; value.is_array() && i < value.size(); ++i)
        if (auto fault = FaultIn(value[i], rule, at + "/" + std::to_string(i)); !fault.empty()) return fault;
      return {};
    }
    if (keyword == "anyOf") {
      std::string faults;
      for (const Json& choice : rule) {
        const std::string fault = FaultIn(value, choice, at);
        if (fault.empty()) return {};
        faults += (faults.empty() ? "" : "; ") + fault;
      }
      return faults;
    }
    return at + ": unknown keyword " + keyword;
  }

  /// Named members by their own schemas, others by "additionalProperties".
  std::string Members(const Json& value, const Json& schema, const std::string& at) const {
    const Json named = schema.value("properties", Json::object()),
               others = schema.value("additionalProperties", Json(true));
    if (!value.is_object()) return {};
    for (const auto& [name, member] : value.items()) {
      if (!named.contains(name) && others == Json(false)) return at + "/" + name + ": unknown";
      if (!named.contains(name) && others.is_boolean()) continue;
      const std::string fault = FaultIn(member, named.contains(name) ? named[name] : others, at + "/" + name);
      if (!fault.empty()) return fault;
    }
    return {};
  }

  static bool IsOfType(const Json& value, const std::string& type) {
    if (type == "integer") return value.is_number_integer();
    if (type == "number") return value.is_number();
    if (type == "string") return value.is_string();
    if (type == "boolean") return value.is_boolean();
    if (type == "array") return value.is_array();
    return type == "object" ? value.is_object() : type == "null" && value.is_null();
  }

  Json root_;
};
