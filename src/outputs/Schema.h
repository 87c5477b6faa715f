#pragma once

#include <KVMission.h>
#include <ogr_api.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

/// What a vector layer holds, as tables: one row for each field. Every format is written from them.
namespace kv::mission {

enum class FieldType {
  Integer,  ///< of 32 bits: CSV would take a longer one for a text
  Real,
  Text,
  Time,
  Logical,
};

/// A text that is stored even if it is empty.
struct StoredText {
  std::string text;
};

/// A field of a feature that is being made. What is unknown (nothing, NaN, an empty text) leaves it NULL.
class FieldSlot {
 public:
  FieldSlot(OGRFeatureH feature, int field) : feature_(feature), field_(field) {}

  void Put(std::int64_t value) { OGR_F_SetFieldInteger64(feature_, field_, value); }
  void Put(bool value) { OGR_F_SetFieldInteger(feature_, field_, value); }
  void Put(double value);
  void Put(const std::string& value);
  void Put(const StoredText& value) { OGR_F_SetFieldString(feature_, field_, value.text.c_str()); }
  void Put(KVMission::Instant value);
  template <class Value>
  void Put(const std::optional<Value>& value) {
    value ? Put(*value) : OGR_F_SetFieldNull(feature_, field_);
  }

 private:
  OGRFeatureH feature_;
  int field_;
};

/// The type of a field by that of its values; the pointers are null.
constexpr FieldType TypeOf(const std::int64_t*) { return FieldType::Integer; }
constexpr FieldType TypeOf(const double*) { return FieldType::Real; }
constexpr FieldType TypeOf(const std::string*) { return FieldType::Text; }
constexpr FieldType TypeOf(const StoredText*) { return FieldType::Text; }
constexpr FieldType TypeOf(const KVMission::Instant*) { return FieldType::Time; }
constexpr FieldType TypeOf(const bool*) { return FieldType::Logical; }
template <class Value>
constexpr FieldType TypeOf(const std::optional<Value>*) {
  return TypeOf(static_cast<const Value*>(nullptr));
}

struct FieldDefinition {
  const char* name;
  const char* alias;  ///< for people, with the unit
  FieldType type;
};

template <class Row>
struct Field : FieldDefinition {
  /// @param getValue  captureless; returns a row's value
  template <class GetValue>
  constexpr Field(const char* fieldName, const char* fieldAlias, GetValue)
      : FieldDefinition{fieldName, fieldAlias,
                        TypeOf(static_cast<std::decay_t<std::invoke_result_t<GetValue, const Row&>>*>(nullptr))},
        put([](FieldSlot slot, const Row& row) { slot.Put(GetValue{}(row)); }) {
    static_assert(std::is_empty_v<GetValue>);  // a pointer to a function would be null
  }

  void (*put)(FieldSlot slot, const Row& row);
};

/// Degrees, or coordinates of the layer's system, and metres. A height that is not known is NaN.
struct Vertex {
  double x, y, z;
};

enum class Shape { None, Point, Line };

struct LayerDefinition {
  const char* name;
  const char* title;
  const char* description;
  Shape shape;
};

template <class Row>
struct VectorLayer : LayerDefinition {
  std::span<const Field<Row>> fields;
  void (*addVertices)(const Row&, std::vector<Vertex>&) = nullptr;  ///< none for a table
  std::string (*styleOf)(const Row&) = nullptr;                     ///< OGR feature style
};

}  // namespace kv::mission
