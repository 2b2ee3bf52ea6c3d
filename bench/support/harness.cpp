// Measuring in turn, the table and the JSON.
#include "bench/support/harness.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

namespace bench {
namespace {

constexpr int kQuickRounds = 7, kThoroughRounds = 25;
constexpr const char* kLine = "{:<30} {:>11} {:>9} {:>9} {:>9} {:>9} {:>6} {:>6} {:>9}  {}\n";

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double CpuMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

Figure Time(const Work& work) {
  using Clock = std::chrono::steady_clock;
  if (work.prepare) work.prepare();
  const double cpu = CpuMilliseconds();
  const Clock::time_point start = Clock::now();
  work.run();
  const std::chrono::duration<double, std::milli> wall = Clock::now() - start;
  const Figure figure{wall.count(), CpuMilliseconds() - cpu};
  if (work.cleanUp) work.cleanUp();
  return figure;
}

double Ratio(double ours, double floor) {
  return floor > 0 ? ours / floor : 0;
}

std::string RatioText(double ours, double floor) {
  return floor > 0 && ours > 0 ? fmt::format("{:.2f}", ours / floor) : "";
}

std::string Amount(double value) {
  return value > 0 ? fmt::format("{:.2f}", value) : "";
}

std::string SizeText(const Row& row) {
  return row.sizeText.empty() ? fmt::format("{:.0f}", row.size) : row.sizeText;
}

std::string TargetText(const Row& row) {
  if (row.mostRatio > 0) return fmt::format("<= {:.2f}", row.mostRatio);
  return row.most > 0 ? fmt::format("<= {:.0f} {}", row.most, row.unit) : "";
}

/// How far over its target a row is, as a share of it; below 0 when it is met.
double Excess(const Row& row) {
  if (row.mostRatio > 0) return Ratio(row.ours.wall, row.floor.wall) / row.mostRatio - 1;
  return row.most > 0 ? row.ours.wall / row.most - 1 : 0;
}

std::string Verdict(const Row& row) {
  if ((row.mostRatio <= 0 && row.most <= 0) || (row.mostRatio > 0 && row.floor.wall <= 0)) {
    return "";
  }
  const double excess = Excess(row);
  return excess > 0 ? fmt::format("MISSED by {:.0f} %", excess * 100) : "met";
}

bool ParseArguments(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool hasValue = i + 1 < argc;
    if (argument == "--quick") {
      options->quick = true;
    } else if (argument == "--ours-only") {
      options->oursOnly = true;
    } else if (argument == "--rounds" && hasValue) {
      options->rounds = std::atoi(argv[++i]);
      if (options->rounds < 1) return false;
    } else if (argument == "--json" && hasValue) {
      options->json = argv[++i];
    } else {
      return false;
    }
  }
  if (options->rounds == 0) options->rounds = options->quick ? kQuickRounds : kThoroughRounds;
  return true;
}

}  // namespace

std::vector<Figure> MedianInTurn(const std::vector<std::function<Figure()>>& samples,
                                 const Options& options) {
  std::vector<std::vector<double>> walls(samples.size()), cpus(samples.size());
  for (int round = options.quick ? -1 : -2; round < options.rounds; ++round) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const Figure figure = samples[i]();
      if (round < 0) continue;
      walls[i].push_back(figure.wall);
      cpus[i].push_back(figure.cpu);
    }
  }
  std::vector<Figure> medians;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    medians.push_back({Median(walls[i]), Median(cpus[i])});
  }
  return medians;
}

std::vector<Figure> MeasureInTurn(const std::vector<Work>& works, const Options& options) {
  std::vector<std::function<Figure()>> samples;
  for (const Work& work : works) samples.emplace_back([&work] { return Time(work); });
  return MedianInTurn(samples, options);
}

Row MeasureRow(const std::string& name, double size, const std::vector<Work>& floors,
               const Work& ours, const Options& options) {
  std::vector<Work> works;
  if (!options.oursOnly) works = floors;
  works.push_back(ours);
  std::vector<Figure> figures = MeasureInTurn(works, options);
  Row row;
  row.work = name;
  row.size = size;
  row.ours = figures.back();
  figures.pop_back();
  const auto cheapest =
      std::min_element(figures.begin(), figures.end(),
                       [](const Figure& a, const Figure& b) { return a.wall < b.wall; });
  if (cheapest != figures.end()) row.floor = *cheapest;
  return row;
}

Report::Report(std::string program, const Options& options)
    : m_program(std::move(program)), m_options(options) {
  fmt::print("\n{}: medians of {} rounds, {} processors\n", m_program, options.rounds,
             std::thread::hardware_concurrency());
  fmt::print(kLine, "work", "size", "floor", "cpu", "ours", "cpu", "ratio", "cpu", "target",
             "verdict");
}

void Report::Add(const Row& row) {
  fmt::print(kLine, row.work + (row.unit == "ms" ? "" : ", " + row.unit), SizeText(row),
             Amount(row.floor.wall), Amount(row.floor.cpu), Amount(row.ours.wall),
             Amount(row.ours.cpu), RatioText(row.ours.wall, row.floor.wall),
             RatioText(row.ours.cpu, row.floor.cpu), TargetText(row), Verdict(row));
  std::fflush(stdout);
  m_rows.push_back(row);
}

void Report::Note(const std::string& text) {
  m_notes.push_back(text);
}

void Report::Fail(const std::string& what) {
  fmt::print(stderr, "{}: {}\n", m_program, what);
  m_notes.push_back("failed: " + what);
  m_failed = true;
}

/// Between each row and the next of the same work.
std::vector<Report::Growth> Report::ComputeGrowth() const {
  std::vector<Growth> growth;
  for (std::size_t i = 0; i < m_rows.size(); ++i) {
    const Row& to = m_rows[i];
    const auto sameWork = [&](const Row& row) {
      return row.work == to.work && row.unit == to.unit;
    };
    const auto before =
        std::find_if(m_rows.rend() - static_cast<std::ptrdiff_t>(i), m_rows.rend(), sameWork);
    if (before == m_rows.rend() || before->size <= 0 || to.size <= before->size) continue;
    const auto exponent = [&](double first, double second) {
      return first > 0 && second > 0 ? std::log(second / first) / std::log(to.size / before->size)
                                     : 0;
    };
    growth.push_back({to.unit == "ms" ? to.work : to.work + ", " + to.unit, before->size, to.size,
                      exponent(before->floor.wall, to.floor.wall),
                      exponent(before->ours.wall, to.ours.wall)});
  }
  return growth;
}

bool Report::WriteJson(const std::vector<Growth>& growth) const {
  nlohmann::ordered_json json;
  json["program"] = m_program;
  json["rounds"] = m_options.rounds;
  json["processors"] = std::thread::hardware_concurrency();
  json["rows"] = nlohmann::ordered_json::array();
  for (const Row& row : m_rows) {
    nlohmann::ordered_json entry = {{"work", row.work},
                                    {"size", row.size},
                                    {"unit", row.unit},
                                    {"floor", row.floor.wall},
                                    {"floorCpu", row.floor.cpu},
                                    {"ours", row.ours.wall},
                                    {"oursCpu", row.ours.cpu},
                                    {"ratio", Ratio(row.ours.wall, row.floor.wall)},
                                    {"cpuRatio", Ratio(row.ours.cpu, row.floor.cpu)}};
    if (row.mostRatio > 0) entry["mostRatio"] = row.mostRatio;
    if (row.most > 0) entry["most"] = row.most;
    if (const std::string verdict = Verdict(row); !verdict.empty()) entry["verdict"] = verdict;
    json["rows"].push_back(entry);
  }
  json["growth"] = nlohmann::ordered_json::array();
  for (const Growth& g : growth) {
    json["growth"].push_back({{"work", g.work},
                              {"from", g.from},
                              {"to", g.to},
                              {"floorExponent", g.floor},
                              {"oursExponent", g.ours}});
  }
  json["notes"] = m_notes;
  std::ofstream file(m_options.json, std::ios::trunc);
  file << json.dump(2) << '\n';
  file.close();
  return static_cast<bool>(file);
}

int Report::Finish() {
  const std::vector<Growth> growth = ComputeGrowth();
  for (const Growth& g : growth) {
    fmt::print("  growth of {}, {:.0f} to {:.0f}: n^{:.2f}{}\n", g.work, g.from, g.to, g.ours,
               g.floor != 0 ? fmt::format(" (floor n^{:.2f})", g.floor) : "");
  }
  for (const std::string& note : m_notes) fmt::print("  {}\n", note);
  if (!m_options.json.empty() && !WriteJson(growth)) {
    fmt::print(stderr, "{}: {}: cannot be written; choose another file\n", m_program,
               m_options.json);
    return 1;
  }
  return m_failed ? 1 : 0;
}

int Main(int argc, char** argv, const std::string& program,
         const std::function<void(const Options&, Report&)>& body) {
  Options options;
  if (!ParseArguments(argc, argv, &options)) {
    fmt::print(stderr, "usage: {} [--quick] [--rounds N] [--json FILE] [--ours-only]\n", argv[0]);
    return 2;
  }
  Report report(program, options);
  try {
    body(options, report);
  } catch (const std::exception& error) {
    report.Fail(error.what());
  }
  return report.Finish();
}

}  // namespace bench
