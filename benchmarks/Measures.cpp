#include "Measures.h"

#include <malloc.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

double StatusBytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return 1024 * std::strtod(line.c_str() + key.size(), nullptr);
  }
  throw std::runtime_error("memory cannot be counted");
}

double PeakBytes(const Call& call) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak counts from here on
  const double before = StatusBytes("VmRSS:");
  call();
  return StatusBytes("VmHWM:") - before;
}

}  // namespace

double ProcessorSeconds() {
  timespec own{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
  rusage children{};
  getrusage(RUSAGE_CHILDREN, &children);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return static_cast<double>(own.tv_sec) + 1e-9 * static_cast<double>(own.tv_nsec) + seconds(children.ru_utime) +
         seconds(children.ru_stime);
}

Side ProcessorTime(Call call) {
  constexpr double kLeastSeconds = 0.05;
  const auto times = std::make_shared<double>(1);  // learnt in the first round
  return {By::Processor, [=] {
            while (true) {
              const double before = ProcessorSeconds();
              for (double i = 0; i < *times; ++i) call();
              const double seconds = ProcessorSeconds() - before;
              if (seconds >= kLeastSeconds) return seconds / *times;
              *times = std::ceil(*times * std::min(2 * kLeastSeconds / std::max(seconds, 1e-9), 1000.0));
            }
          }};
}

Side WallTime(Call call) {
  return {By::Wall, [=] {
            const double before = ClockSeconds();
            call();
            return ClockSeconds() - before;
          }};
}

Side PeakMemory(Call call) {
  return {By::Memory, [=] { return PeakBytes(call); }};
}

Side Given(By by, double figure) {
  return {by, [=] { return figure; }};
}

void Run(const std::string& command) {
  if (std::system(("( " + command + " ) > /dev/null 2>&1").c_str()) != 0) throw std::runtime_error(command);
}

bool HasProgram(const std::string& program) {
  return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

double CoresLeft::Since() const {
  const double others = AllProcessorSeconds() - all_ - (ProcessorSeconds() - own_);
  return std::thread::hardware_concurrency() - others / (ClockSeconds() - start_);
}

double CoresLeft::AllProcessorSeconds() {
  std::ifstream file("/proc/stat");
  std::string name;
  double user = 0, nice = 0, system = 0, idle = 0, waiting = 0, interrupts = 0, softInterrupts = 0, stolen = 0;
  file >> name >> user >> nice >> system >> idle >> waiting >> interrupts >> softInterrupts >> stolen;
  return (user + nice + system + interrupts + softInterrupts + stolen) / static_cast<double>(sysconf(_SC_CLK_TCK));
}
