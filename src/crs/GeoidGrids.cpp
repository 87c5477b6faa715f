#include "crs/GeoidGrids.h"

#include "crs/Wkt.h"
#include "platform/FileNames.h"

namespace kv {
namespace {

constexpr const char* kGridExtension = "PROJ4_GRIDS";

std::string_view CompoundName(const OGRSpatialReference& system) {
  const char* name = system.GetAttrValue("COMPD_CS", 0);
  return name ? name : "";
}

// The part after a "+" and a blank. On purpose, for a name without a "+" it is everything after the first character:
// keys in lookup files are formed like this.
std::string_view VerticalPart(std::string_view name, std::size_t plus) {
  const std::size_t begin = plus + 2;  // of npos: 1
  return begin < name.size() ? name.substr(begin) : std::string_view();
}

// Cuts at the last "(" together with the character before it, usually a blank. Without a "(", or with one at the very
// start, the name stays whole.
std::string_view WithoutQualifier(std::string_view name) { return name.substr(0, name.rfind('(') - 1); }

}  // namespace

std::string LookupKey(const OGRSpatialReference& system) {
  const std::string_view name = CompoundName(system);
  return std::string(WithoutQualifier(VerticalPart(name, name.find('+'))));
}

std::string ComparisonKey(const OGRSpatialReference& system) {
  constexpr std::string_view kWholeName = "CGVD2013 height - CGG2013 - NAD83(CSRS)";
  const std::string_view name = CompoundName(system);
  const std::string_view vertical = VerticalPart(name, name.rfind('+'));
  return std::string(vertical == kWholeName ? vertical : WithoutQualifier(vertical));
}

std::string ListedGrid(const std::wstring& dataRoot, const std::string& key) {
  std::string found;
  ForEachListedGrid(dataRoot, [&](std::string_view listed, std::string_view grid) {
    // A line whose grid contains the key does not count.
    const bool isIt = !key.empty() && listed == key && grid.find(key) == std::string_view::npos;
    if (isIt) found = grid;
    return !isIt;
  });
  return found;
}

bool NamesGrid(const OGRSpatialReference& system) {
  return system.GetExtension(kVerticalDatum, kGridExtension) != nullptr;
}

std::string FirstGrid(const OGRSpatialReference& system) {
  const char* grids = system.GetExtension(kVerticalDatum, kGridExtension);
  const std::string_view names = grids ? grids : "";
  return std::string(names.substr(0, names.find(',')));
}

bool GridExists(std::string_view grid, const std::wstring& dataRoot) {
  return !grid.empty() && PathExists(ProjFolder(dataRoot) + L"\\" + WideFromUtf8(grid));
}

bool NamedGridExists(const OGRSpatialReference& system, const std::wstring& dataRoot) {
  return GridExists(FirstGrid(system), dataRoot);
}

void NameGrid(const std::string& grid, OGRSpatialReference& system) {
  // PROJ opens it by this name.
  system.SetExtension(kVerticalDatum, kGridExtension, GeodeticPath(WideFromUtf8(grid)).c_str());
}

}  // namespace kv
