#include "harness.h"

#include <malloc.h>
#include <sqlite3.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace clipcat_bench {
namespace {

double StatusKb(const char* key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::string prefix = std::string(key) + ":";
  while (std::getline(status, line)) {
    if (line.rfind(prefix, 0) == 0) return std::stod(line.substr(prefix.size()));
  }
  return NAN;
}

// Figures cross the pipe as one line each, fields separated by tabs (no field holds a tab or a
// line break).
std::string Encode(const Figure& f) {
  std::ostringstream out;
  out.precision(17);
  out << f.scenario << '\t' << f.measure << '\t' << f.unit << '\t' << f.ours << '\t' << f.floor
      << '\t' << static_cast<int>(f.goal) << '\t' << f.limit << '\t' << f.note << '\t'
      << (f.absolute ? 1 : 0) << '\n';
  return out.str();
}

double ToNumber(const std::string& text) {
  if (text == "nan" || text == "-nan") return NAN;
  return std::stod(text);
}

Figure Decode(const std::string& line) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, '\t')) fields.push_back(field);
  while (fields.size() < 9) fields.emplace_back();
  Figure f;
  f.scenario = fields[0];
  f.measure = fields[1];
  f.unit = fields[2];
  f.ours = ToNumber(fields[3]);
  f.floor = ToNumber(fields[4]);
  f.goal = static_cast<Figure::Goal>(std::stoi(fields[5]));
  f.limit = ToNumber(fields[6]);
  f.note = fields[7];
  f.absolute = fields[8] == "1";
  return f;
}

std::string Clean(std::string text) {
  for (char& c : text) {
    if (c == '\t' || c == '\n') c = ' ';
  }
  return text;
}

std::string JsonText(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string JsonNumber(double value) {
  if (std::isnan(value)) return "null";
  std::ostringstream out;
  out.precision(6);
  out << value;
  return out.str();
}

std::string CommandOutput(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) out += buffer;
    pclose(pipe);
  }
  while (!out.empty() && (out.back() == '\n' || out.back() == ' ')) out.pop_back();
  return out;
}

std::string Format(double value) {
  char text[32];
  if (std::isnan(value)) return "-";
  const double a = std::fabs(value);
  std::snprintf(text, sizeof text, a >= 100 ? "%.0f" : a >= 10 ? "%.1f" : "%.2f", value);
  return text;
}

}  // namespace

int Options::Scaled(int count, int minimum) const {
  return std::max(minimum, static_cast<int>(count * scale + 0.5));
}

int Figure::Met() const {
  if (goal == Goal::kNone) return -1;
  const double value = TargetOnRatio() ? Ratio() : ours;
  if (std::isnan(value)) return 0;
  return goal == Goal::kAtMost ? value <= limit : value >= limit;
}

std::string Figure::TargetText() const {
  if (goal == Goal::kNone) return "";
  const std::string op = goal == Goal::kAtMost ? "<=" : ">=";
  return (TargetOnRatio() ? "ratio " : "") + op + " " + Format(limit) +
         (TargetOnRatio() ? "" : " " + unit);
}

void Report::Ratio(const std::string& measure, const std::string& unit, double ours, double floor,
                   double max_ratio, const std::string& note) {
  Figure f;
  f.scenario = scenario_;
  f.measure = measure;
  f.unit = unit;
  f.ours = ours;
  f.floor = floor;
  if (max_ratio > 0) {
    f.goal = Figure::Goal::kAtMost;
    f.limit = max_ratio;
  }
  f.note = note;
  figures_.push_back(f);
}

void Report::AtLeast(const std::string& measure, const std::string& unit, double value,
                     double limit, const std::string& note) {
  figures_.push_back(
      {scenario_, measure, unit, value, NAN, Figure::Goal::kAtLeast, limit, note, false});
}

void Report::AtMost(const std::string& measure, const std::string& unit, double value, double limit,
                    const std::string& note) {
  figures_.push_back(
      {scenario_, measure, unit, value, NAN, Figure::Goal::kAtMost, limit, note, false});
}

void Report::AtMostBeside(const std::string& measure, const std::string& unit, double ours,
                          double floor, double limit, const std::string& note) {
  figures_.push_back(
      {scenario_, measure, unit, ours, floor, Figure::Goal::kAtMost, limit, note, true});
}

void Report::Info(const std::string& measure, const std::string& unit, double value,
                  const std::string& note) {
  figures_.push_back({scenario_, measure, unit, value, NAN, Figure::Goal::kNone, 0, note, false});
}

void Report::Memory(const std::string& measure, double peak_mb, double returned_mb,
                    double floor_peak_mb) {
  char note[160];
  std::snprintf(note, sizeof note,
                "peak rise %.1f MB, returned data %.1f MB; floor's peak rise %.1f MB", peak_mb,
                returned_mb, floor_peak_mb);
  AtMost(measure, "MB", peak_mb - returned_mb, 64, note);
}

bool g_cpu_clock = false;

double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double Median(std::vector<double> samples) {
  if (samples.empty()) return NAN;
  std::sort(samples.begin(), samples.end());
  const size_t n = samples.size();
  return n % 2 == 1 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
}

void MemoryProbe::Start() {
  // Heap freed by earlier work goes back to the system first, so that it is not silently reused
  // and hidden from the measured stretch.
  malloc_trim(0);
  if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", f);  // 5: reset the peak resident set size
    std::fclose(f);
  }
  baseline_kb_ = StatusKb("VmRSS");
}

double MemoryProbe::PeakMB() const { return (StatusKb("VmHWM") - baseline_kb_) / 1024.0; }

std::vector<Figure> RunIsolated(const std::string& scenario,
                                const std::function<void(Report&)>& body) {
  std::fflush(stdout);
  int fds[2];
  if (pipe(fds) != 0) throw std::runtime_error("pipe failed");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    close(fds[0]);
    Report report(scenario);
    std::string out;
    try {
      body(report);
      for (const Figure& f : report.figures()) out += Encode(f);
    } catch (const std::exception& e) {
      for (const Figure& f : report.figures()) out += Encode(f);
      Figure failed{scenario, "scenario failed", "",   NAN, NAN, Figure::Goal::kAtMost,
                    0,        Clean(e.what()),   false};
      out += Encode(failed);
    }
    size_t done = 0;
    while (done < out.size()) {
      const ssize_t n = write(fds[1], out.data() + done, out.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    close(fds[1]);
    std::fflush(stdout);
    _exit(0);
  }
  close(fds[1]);
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = read(fds[0], buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  std::vector<Figure> figures;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty()) figures.push_back(Decode(line));
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    figures.push_back({scenario, "scenario crashed", "", NAN, NAN, Figure::Goal::kAtMost, 0,
                       "child status " + std::to_string(status), false});
  }
  return figures;
}

void PrintFigures(const std::vector<Figure>& figures) {
  for (const Figure& f : figures) {
    const int met = f.Met();
    std::printf("%-8s %-44s %10s %-5s %10s %7s  %-16s %s\n", f.scenario.c_str(), f.measure.c_str(),
                Format(f.ours).c_str(), f.unit.c_str(), f.HasFloor() ? Format(f.floor).c_str() : "",
                f.HasFloor() ? Format(f.Ratio()).c_str() : "", f.TargetText().c_str(),
                met == 1   ? "met"
                : met == 0 ? "MISSED"
                           : "");
    if (!f.note.empty()) std::printf("%-8s   %s\n", "", f.note.c_str());
  }
  std::fflush(stdout);
}

void WriteResults(const std::string& path, const std::vector<Figure>& figures,
                  const Options& options, double total_seconds) {
  const std::string source = CLIPCAT_SOURCE_DIR;
  const std::string commit = CommandOutput("git -C '" + source + "' rev-parse HEAD 2>/dev/null");
  const std::string dirty = CommandOutput(
      "git -C '" + source + "' status --porcelain --untracked-files=no -- src 2>/dev/null");
  utsname machine{};
  uname(&machine);
  char when[32];
  const std::time_t now = std::time(nullptr);
  std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));

  std::ofstream out(path);
  out << "{\n  \"commit\": " << JsonText(commit) << ",\n"
      << "  \"library_sources_modified\": " << (dirty.empty() ? "false" : "true") << ",\n"
      << "  \"date\": " << JsonText(when) << ",\n"
      << "  \"machine\": "
      << JsonText(std::string(machine.machine) + ", " +
                  std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " cores, " + machine.sysname +
                  " " + machine.release)
      << ",\n"
      << "  \"sqlite\": " << JsonText(sqlite3_libversion()) << ",\n"
      << "  \"scale\": " << options.scale << ",\n  \"reps\": " << options.reps << ",\n"
      << "  \"clock\": " << (options.cpu_clock ? "\"process cpu\"" : "\"wall\"") << ",\n"
      << "  \"total_seconds\": " << JsonNumber(total_seconds) << ",\n  \"figures\": [\n";
  for (size_t i = 0; i < figures.size(); ++i) {
    const Figure& f = figures[i];
    const int met = f.Met();
    out << "    {\"scenario\": " << JsonText(f.scenario) << ", \"measure\": " << JsonText(f.measure)
        << ", \"unit\": " << JsonText(f.unit) << ", \"ours\": " << JsonNumber(f.ours)
        << ", \"floor\": " << JsonNumber(f.floor) << ", \"ratio\": " << JsonNumber(f.Ratio())
        << ", \"target\": " << JsonText(f.TargetText()) << ", \"met\": "
        << (met == 1   ? "true"
            : met == 0 ? "false"
                       : "null")
        << ", \"note\": " << JsonText(f.note) << "}" << (i + 1 < figures.size() ? "," : "") << "\n";
  }
  out << "  ]\n}\n";
}

}  // namespace clipcat_bench
