#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Log.h"
#include "commands/Commands.h"
#include "commands/JobsOption.h"
#include "mission/Layers.h"
#include "mission/TargetSystem.h"
#include "mission/inputs/LineWriter.h"
#include "platform/FileNames.h"
#include "report/PosReport.h"
#include "report/PosRows.h"
#include "text/TextCase.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

struct TransformOptions {
  std::string pos, target, output;
  unsigned jobs = 0;
  bool overwrite = false, json = false, quiet = false, verbose = false;
};

int DecimalsFor(const tagKVCoordinateSystem& target) { return target.IsGeographic ? 10 : 6; }  // 10 um, 1 um

/// Makes the rows of a text in the threads that make the samples.
template <typename Rows, typename Write>
PosUse TextOfSamples(std::string header, Rows rows, const tagKVCoordinateSystem& target, Write write) {
  PosUse use;
  use.prepare = [rows, decimals = DecimalsFor(target)](PosBlock& block) {
    block.text = rows(block, decimals);
    block.samples = {};
  };
  use.take = [header = std::move(header), write](PosBlock&& block) {
    if (block.first == 0) write(header);
    write(block.text);
  };
  return use;
}

template <typename Write>
PosUse CsvOfSamples(const tagKVCoordinateSystem& target, Write write) {
  return TextOfSamples(PosCsvHeader(), PosCsvRows, target, write);
}

/// A file or layer that gets its name once it is whole.
PosSummary TransformTo(const fs::path& output, const TransformOptions& options, const tagKVCoordinateSystem& target,
                       Log& log) {
  const std::string extension = LowerCase(Utf8(output.extension()));
  const bool isLayer = extension == ".shp";
  if (!isLayer && extension != ".csv" && extension != ".xyz")
    throw Failure(Utf8(output) + ": the output must end in .shp, .csv or .xyz", ExitCode::WrongUsage);
  if (LibraryMisreads(output)) throw Failure(Utf8(output) + ": an output cannot have a backslash in its name");
  const fs::path folder = output.has_parent_path() ? output.parent_path() : ".";
  const std::string name = (isLayer ? output.stem() : output.filename()).string();
  const Results results = isLayer ? Results{{name}, {}} : Results{{}, {name}};
  RefuseResultAsInput(folder, results, options.pos);
  OutputFolder place(folder, options.overwrite, results);
  PosSummary summary;
  if (isLayer) {
    PosPoints points = TransformPos(options.pos, target, options.jobs, log);
    WritePosPoints(place, name.c_str(), std::move(points.samples), target.EsriWkt.GetString(), log);
    summary = std::move(points.summary);
  } else {
    LineWriter writer(place.Staging() / name);
    const auto write = [&](const std::string& text) {
      writer.Text() += text;
      writer.LineDone();
    };
    summary =
        TransformPos(options.pos, target, options.jobs, log,
                     extension == ".csv" ? CsvOfSamples(target, write) : TextOfSamples("", PosXyzRows, target, write));
    writer.Close();
  }
  place.Commit();
  return summary;
}

std::string ReportText(const PosSummary& summary) {
  std::string text;
  for (const auto& line : PosReportLines(summary)) text += Visible(line) + '\n';
  return text;
}

/// Standard output has the table, the report goes beside it. Whether all of it gets there is asked at the end of the
/// command.
PosSummary TransformAndPrint(const TransformOptions& options, const tagKVCoordinateSystem& target, Log& log) {
  const auto write = [](const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); };
  PosSummary summary = TransformPos(options.pos, target, options.jobs, log, CsvOfSamples(target, write));
  if (!options.quiet) ShowText(ReportText(summary));
  return summary;
}

ExitCode Transform(const TransformOptions& options) {
  if (options.json && options.output.empty())
    throw Failure("--json needs --output: standard output has the table", ExitCode::WrongUsage);
  CatchInterrupts();
  Log log(options.quiet ? Verbosity::Quiet : options.verbose ? Verbosity::Verbose : Verbosity::Normal);
  const auto target = ReadTargetSystem(options.target);
  PosSummary summary;
  if (options.output.empty()) {
    summary = TransformAndPrint(options, target, log);
  } else {
    summary = TransformTo(options.output, options, target, log);
    if (options.json) {
      fmt::print("{}", Written(JsonOf(summary)));
    } else if (!options.quiet) {
      fmt::print("{}", ReportText(summary));
    }
  }
  return summary.IsComplete() ? ExitCode::Good : ExitCode::Unmatched;
}

}  // namespace
}  // namespace kv::mission

void AddTransformCommand(CLI::App& app, int& exitCode) {
  using namespace kv::mission;
  CLI::App& command = *app.add_subcommand("transform", "Transform a POS file into a coordinate system");
  const auto options = std::make_shared<TransformOptions>();
  command.add_option("POSFILE", options->pos, "GPS week, seconds, latitude, longitude, height and ten more columns")
      ->required();
  command.add_option("--target", options->target, "coordinate system: WKT, a file with it, or codes")
      ->type_name("WKT|FILE|EPSG:n[+m]")
      ->required();
  command.add_option("-o,--output", options->output, "points.shp, .csv or .xyz (default: CSV on standard output)")
      ->type_name("FILE");
  AddJobsOption(command, options->jobs, "threads that transform samples");
  command.add_flag("--overwrite", options->overwrite, "replace the output of an earlier run");
  command.add_flag("--json", options->json, "print the report as JSON; needs --output");
  auto* quiet = command.add_flag("-q,--quiet", options->quiet, "say nothing but errors (and JSON when asked for)");
  command.add_flag("-v,--verbose", options->verbose, "say more")->excludes(quiet);
  command.callback([options, &exitCode] { exitCode = static_cast<int>(Transform(*options)); });
}
