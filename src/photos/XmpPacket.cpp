#include "photos/XmpPacket.h"

#include <KVMission.h>
#include <expat.h>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <new>

namespace kv::mission {
namespace {

using KVMission::Failure;

constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr char kSeparator = ' ';  // between name space and name

constexpr const char* kNewPacket =
    "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
    " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
    "  <rdf:Description rdf:about=\"\"/>\n"
    " </rdf:RDF>\n"
    "</x:xmpmeta>\n"
    "<?xpacket end=\"w\"?>";

struct FreeParser {
  void operator()(XML_ParserStruct* parser) const { XML_ParserFree(parser); }
};

bool Knows(const XmpNamespace& space, std::string_view name) {
  return std::find(space.names.begin(), space.names.end(), name) != space.names.end();
}

}  // namespace

/// Finds the properties in the text. Those of the packet are attributes and elements of descriptions inside rdf:RDF.
class XmpPacket::Parser {
 public:
  explicit Parser(XmpPacket& packet) : packet_(packet), parser_(XML_ParserCreateNS("UTF-8", kSeparator)) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), &Parser::OnStart, &Parser::OnEnd);
    XML_SetNamespaceDeclHandler(parser_.get(), &Parser::OnPrefix, &Parser::OnPrefixEnd);
    XML_SetStartDoctypeDeclHandler(parser_.get(), [](void* self, auto...) { static_cast<Parser*>(self)->Stop(); });
  }

  void Run() {
    const std::string_view text(packet_.text_);
    const std::size_t end = text.find_last_not_of('\0') + 1;  // some writers end a packet as they end a text
    if (XML_Parse(parser_.get(), text.data(), static_cast<int>(end), XML_TRUE) != XML_STATUS_OK || !hasDescription_)
      throw Failure("its XMP packet cannot be read");
  }

 private:
  void Stop() { XML_StopParser(parser_.get(), XML_FALSE); }

  /// Exceptions must not cross the parser.
  template <class Work>
  static void Guarded(void* self, Work work) {
    Parser& parser = *static_cast<Parser*>(self);
    try {
      work(parser);
    } catch (const std::exception&) {
      parser.Stop();
    }
  }

  static void OnPrefix(void* self, const char* prefix, const char* name) {
    Guarded(self, [&](Parser& p) { p.inScope_[prefix ? prefix : ""].emplace_back(name ? name : ""); });
  }
  static void OnPrefixEnd(void* self, const char* prefix) {
    Guarded(self, [&](Parser& p) { p.inScope_[prefix ? prefix : ""].pop_back(); });
  }
  static void OnStart(void* self, const char* name, const char**) {
    Guarded(self, [&](Parser& p) { p.Start(name); });
  }
  static void OnEnd(void* self, const char*) {
    Guarded(self, [](Parser& p) { p.End(); });
  }

  std::size_t At() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_.get())); }
  std::size_t Length() const { return static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get())); }

  static std::pair<std::string, std::string> Split(std::string_view name) {
    const std::size_t at = name.rfind(kSeparator);
    if (at == name.npos) return {{}, std::string(name)};
    return {std::string(name.substr(0, at)), std::string(name.substr(at + 1))};
  }

  void Start(std::string_view expanded) {
    const auto [space, name] = Split(expanded);
    path_.push_back(space == kRdf ? name : "");
    const std::size_t depth = path_.size();
    if (depth >= 2 && path_[depth - 2] == "RDF" && name == "Description") {
      if (rdfDepth_ == 0) rdfDepth_ = depth - 1;
      if (depth == rdfDepth_ + 1) Describe(At());
    } else if (rdfDepth_ > 0 && depth == rdfDepth_ + 2) {
      packet_.properties_.push_back({space, name, WithBlanks(At()), 0});
      isOpen_ = true;
    }
  }

  void End() {
    if (isOpen_ && path_.size() == rdfDepth_ + 2) {
      packet_.properties_.back().end = At() + Length();
      isOpen_ = false;
    }
    path_.pop_back();
  }

  std::size_t WithBlanks(std::size_t at) const {
    return packet_.text_.find_last_not_of(kBlanks, at - 1) + 1;  // a property is never the first thing
  }

  /// Takes the attributes of a start tag, which is well-formed.
  void Describe(std::size_t begin) {
    const std::string& text = packet_.text_;
    const std::size_t nameEnd = text.find_first_of(" \t\r\n/>", begin);
    std::size_t at = nameEnd;
    for (;;) {
      const std::size_t blanks = at, name = text.find_first_not_of(kBlanks, at);
      if (text[name] == '/' || text[name] == '>') break;
      const std::size_t equals = text.find_first_of(" \t\r\n=", name), quote = text.find_first_of("\"'", equals);
      at = text.find(text[quote], quote + 1) + 1;
      TakeAttribute(text.substr(name, equals - name), blanks, at);
    }
    if (hasDescription_) return;
    hasDescription_ = true;
    packet_.prefixesAt_ = nameEnd;
    packet_.attributesAt_ = at;
    for (const auto& [prefix, names] : inScope_) {
      if (!names.empty()) packet_.prefixes_[prefix] = names.back();
    }
  }

  void TakeAttribute(const std::string& qualified, std::size_t begin, std::size_t end) {
    const std::size_t colon = qualified.find(':');
    const auto scope = inScope_.find(qualified.substr(0, colon));
    if (colon == qualified.npos || scope == inScope_.end() || scope->second.empty()) return;
    packet_.properties_.push_back({scope->second.back(), qualified.substr(colon + 1), begin, end});
  }

  XmpPacket& packet_;
  std::unique_ptr<XML_ParserStruct, FreeParser> parser_;
  std::map<std::string, std::vector<std::string>> inScope_;  // of each prefix, the innermost meaning last
  std::vector<std::string> path_;                            // names of the open elements of RDF, "" for others
  std::size_t rdfDepth_ = 0;                                 // of rdf:RDF; 0 until it has a description
  bool isOpen_ = false;                                      // inside a property
  bool hasDescription_ = false;
};

XmpPacket::XmpPacket(std::string text) : text_(text.empty() ? kNewPacket : std::move(text)) { Parser(*this).Run(); }

bool XmpPacket::Is(const Property& property, const XmpNamespace& space, std::string_view name) const {
  return !property.isRemoved && property.name == name && Knows(space, property.space);
}

bool XmpPacket::Has(const XmpNamespace& space, std::string_view name) const {
  return std::any_of(properties_.begin(), properties_.end(),
                     [&](const Property& property) { return Is(property, space, name); });
}

void XmpPacket::Remove(const XmpNamespace& space, std::string_view name) {
  for (Property& property : properties_) {
    if (!Is(property, space, name)) continue;
    property.isRemoved = true;
    changes_.push_back({property.begin, property.end, {}});
  }
}

void XmpPacket::Set(const XmpNamespace& space, std::string_view name, std::string_view value) {
  Remove(space, name);
  const auto [meaning, isNew] = prefixes_.try_emplace(space.prefix, space.names.front());
  if (!Knows(space, meaning->second))
    throw Failure(fmt::format("its XMP packet uses the prefix {} for {}", space.prefix, meaning->second));
  const auto insert = [&](std::size_t at, std::string attribute) {
    changes_.insert(changes_.begin() + insertions_++, {at, at, std::move(attribute)});  // before removals
  };
  if (isNew) insert(prefixesAt_, fmt::format("\n    xmlns:{}=\"{}\"", space.prefix, space.names.front()));
  insert(attributesAt_, fmt::format("\n   {}:{}=\"{}\"", space.prefix, name, value));
}

std::string XmpPacket::Text() const { return Changed(text_, changes_); }

}  // namespace kv::mission
