#include "Measures.h"

#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

double StatusBytes(const std::string& key, const std::string& process = "self") {
  std::ifstream status("/proc/" + process + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return 1024 * std::strtod(line.c_str() + key.size(), nullptr);
  }
  return 0;  // of a process that has ended
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
  constexpr double kLeastSeconds = 0.05, kShortSeconds = 0.5;
  const auto secondsOf = [call](double times) {
    const double before = ProcessorSeconds();
    for (double i = 0; i < times; ++i) call();
    return ProcessorSeconds() - before;
  };
  const auto times = std::make_shared<double>(1);  // learnt in the first round
  return {By::Processor, [=] {
            double seconds = secondsOf(1);
            if (seconds >= kShortSeconds) return seconds;
            // The first of short calls does not count: a virtual machine may have to fetch its memory from the host.
            while ((seconds = secondsOf(*times)) < kLeastSeconds)
              *times = std::ceil(*times * std::min(2 * kLeastSeconds / std::max(seconds, 1e-9), 1000.0));
            return seconds / *times;
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

Side PeakMemoryOf(const std::string& program, const std::vector<std::string>& arguments) {
  return {By::Memory, [=] {
            std::vector<char*> words = {const_cast<char*>(program.c_str())};
            for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
            words.push_back(nullptr);
            posix_spawn_file_actions_t quietly;
            posix_spawn_file_actions_init(&quietly);
            for (const int output : {STDOUT_FILENO, STDERR_FILENO})
              posix_spawn_file_actions_addopen(&quietly, output, "/dev/null", O_WRONLY, 0);
            pid_t process = 0;
            const int spawned = posix_spawnp(&process, program.c_str(), &quietly, nullptr, words.data(), environ);
            posix_spawn_file_actions_destroy(&quietly);
            if (spawned != 0) throw std::runtime_error(program + " cannot be run");
            // The system keeps the peak while the process lives; its resource usage would count this process's, too.
            double peak = 0;
            int status = 0;
            while (waitpid(process, &status, WNOHANG) == 0) {
              peak = std::max(peak, StatusBytes("VmHWM:", std::to_string(process)));
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
            if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != 3))
              throw std::runtime_error(program + " failed");
            return peak;
          }};
}

Side Given(By by, double figure) {
  return {by, [=] { return figure; }};
}

void Run(const std::string& command) {
  const int status = std::system(("( " + command + " ) > /dev/null 2>&1").c_str());
  if (WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGINT) std::raise(SIGINT);  // which std::system ignores
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) std::raise(SIGINT);
  if (status != 0) throw std::runtime_error(command);
}

bool HasProgram(const std::string& program) {
  return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

double CoresLeft::Since() const {
  const double others = AllProcessorSeconds() - all_ - (ProcessorSeconds() - own_);
  return std::max(0.0, std::thread::hardware_concurrency() - others / (ClockSeconds() - start_));
}

double CoresLeft::AllProcessorSeconds() {
  std::ifstream file("/proc/stat");
  std::string name;
  double user = 0, nice = 0, system = 0, idle = 0, waiting = 0, interrupts = 0, softInterrupts = 0, stolen = 0;
  file >> name >> user >> nice >> system >> idle >> waiting >> interrupts >> softInterrupts >> stolen;
  return (user + nice + system + interrupts + softInterrupts + stolen) / static_cast<double>(sysconf(_SC_CLK_TCK));
}
