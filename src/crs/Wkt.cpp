#include "crs/Wkt.h"

#include <cpl_conv.h>

#include <memory>

#include "platform/FileNames.h"
#include "text/Numbers.h"

namespace kv {
namespace {

struct FreeText {
  void operator()(char* text) const noexcept { CPLFree(text); }
};

constexpr std::string_view kBlanks = " \t\n\v\f\r";

bool IsEsriDialect(const std::string& wkt) {
  constexpr std::string_view kDatum = "DATUM[\"", kEsriPrefix = "D_";
  std::string packed;
  for (const char c : wkt) {
    if (kBlanks.find(c) == std::string_view::npos) packed += c;
  }
  const std::size_t datum = packed.find(kDatum);
  return datum != std::string::npos && packed.compare(datum + kDatum.size(), kEsriPrefix.size(), kEsriPrefix) == 0;
}

}  // namespace

OGRErr ImportWkt(const std::string& wkt, OGRSpatialReference& system) {
  if (!IsEsriDialect(wkt)) return system.importFromWkt(wkt.c_str());
  // Some files begin with blank lines, which WKT allows but GDAL's reader does not.
  std::string line = wkt.substr(wkt.find_first_not_of(kBlanks));
  char* lines[] = {line.data(), nullptr};
  return system.importFromESRI(lines);
}

OGRErr ExportWkt(const OGRSpatialReference& system, const char* format, std::string& wkt) {
  const std::string option = std::string("FORMAT=") + format;
  const char* const options[] = {option.c_str(), nullptr};
  char* text = nullptr;
  const OGRErr error = system.exportToWkt(&text, options);
  const std::unique_ptr<char, FreeText> owner(text);
  wkt = error == OGRERR_NONE && text ? text : "";
  return error;
}

OGRErr ExportWkt(const OGRSpatialReference& system, std::string& wkt) {
  if (ExportWkt(system, kWkt1, wkt) == OGRERR_NONE && !wkt.empty()) return OGRERR_NONE;
  return ExportWkt(system, kWkt2, wkt);
}

bool IsThreeDimensional(const OGRSpatialReference& system) { return system.IsVertical() || system.GetAxesCount() == 3; }

bool IsCompound(const OGRSpatialReference& system) {
  std::string wkt;
  ExportWkt(system, kWkt2, wkt);
  return wkt.find("COMPOUNDCRS") != std::string::npos;
}

int VerticalClassOf(const OGRSpatialReference& system) {
  if (!IsCompound(system)) return kEllipsoidal;
  const char* datumClass = system.GetAttrValue(kVerticalDatum, 1);
  return datumClass ? LeadingInteger(WideFromUtf8(datumClass)) : 0;
}

}  // namespace kv
