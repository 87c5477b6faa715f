#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "photos/Changes.h"

namespace kv::mission {

/// A namespace of XMP properties. Readers know it by its name or, against the rules of XML, by its prefix.
struct XmpNamespace {
  const char* prefix;
  std::vector<std::string_view> names;  ///< the one that is written, then others in use for the same properties
};

/// An XMP packet whose simple properties are changed in its text: everything else stays as it is, byte for byte,
/// prefixes and padding included.
class XmpPacket {
 public:
  /// @param text  empty for a new packet
  /// @throws Failure when it is not well-formed, or has a document type, which could define entities
  explicit XmpPacket(std::string text);

  bool Has(const XmpNamespace& space, std::string_view name) const;
  /// Removes the property, whatever form it has.
  void Remove(const XmpNamespace& space, std::string_view name);
  /// Sets the property, as an attribute of the first description, where all readers look.
  /// @throws Failure when the packet uses the prefix for something else
  void Set(const XmpNamespace& space, std::string_view name, std::string_view value);

  bool IsChanged() const { return !changes_.empty(); }
  /// The packet with its changes.
  std::string Text() const;

 private:
  class Parser;
  struct Property {
    std::string space, name;
    std::size_t begin, end;  ///< in the text, with the blanks before it
    bool isRemoved = false;
  };

  bool Is(const Property& property, const XmpNamespace& space, std::string_view name) const;

  std::string text_;
  std::vector<Property> properties_;
  std::vector<Change> changes_;  ///< insertions first
  std::ptrdiff_t insertions_ = 0;
  std::map<std::string, std::string, std::less<>> prefixes_;  ///< known to the first description
  std::size_t prefixesAt_ = 0, attributesAt_ = 0;             ///< where the first description takes more of them
};

}  // namespace kv::mission
