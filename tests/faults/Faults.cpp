/// A library to preload that lets the N-th system call of a kind fail, or the N-th allocation, or ends the process there.
///
/// System calls are caught by a seccomp filter, so those of the C library and of other libraries count too. Calls on a
/// file count only when the file is below FAULT_UNDER; nothing counts before main(). Settings, from the environment:
///   FAULT_UNDER   absolute path without links
///   FAULT_CALL    the kind that fails, a name of `kKinds` or "memory"; empty only counts
///   FAULT_AT      the first call that fails, from 1
///   FAULT_FOR     how many calls fail from there on (default 1)
///   FAULT_ERROR   its errno; 0 ends the process by SIGKILL
///   FAULT_STACKS  set: reports each allocation that is the first with its callers in the project's own code
///   FAULT_REPORT  a file that receives lines: the counts at the end, the call that failed, the callers at a crash
///   FAULT_SERVER  two files, "6,7": each line of the first, settings apart by spaces, makes a child that runs main(), with
///                 FAULT_UNDER its folder and "stdout" there its output; the second tells how it ended (SIGALRM: too late)
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// A system call that the filter lets pass because of its address. Returns the negative errno of a failure.
asm(R"(
  .text
  .hidden SystemCall, AfterSystemCall
  .globl SystemCall, AfterSystemCall
SystemCall:
  movq %rdi, %rax
  movq %rsi, %rdi
  movq %rdx, %rsi
  movq %rcx, %rdx
  movq %r8, %r10
  movq %r9, %r8
  movq 8(%rsp), %r9
  syscall
AfterSystemCall:
  ret
)");
extern "C" long SystemCall(long number, long a = 0, long b = 0, long c = 0, long d = 0, long e = 0, long f = 0);
extern "C" const char AfterSystemCall[];
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* __libc_memalign(std::size_t, std::size_t);

namespace {

/// Where a call names its file.
enum class Names { File, Path, PathInFolder };
struct Call {
  int number;
  const char* kind;
  Names names;
};
constexpr Call kCalls[] = {
    {SYS_open, "open", Names::Path},
    {SYS_openat, "open", Names::PathInFolder},
    {SYS_creat, "open", Names::Path},
    {SYS_read, "read", Names::File},
    {SYS_pread64, "read", Names::File},
    {SYS_readv, "read", Names::File},
    {SYS_write, "write", Names::File},
    {SYS_pwrite64, "write", Names::File},
    {SYS_writev, "write", Names::File},
    {SYS_close, "close", Names::File},
    {SYS_fsync, "sync", Names::File},
    {SYS_fdatasync, "sync", Names::File},
    {SYS_rename, "rename", Names::Path},
    {SYS_renameat, "rename", Names::PathInFolder},
    {SYS_renameat2, "rename", Names::PathInFolder},
    {SYS_unlink, "unlink", Names::Path},
    {SYS_unlinkat, "unlink", Names::PathInFolder},
    {SYS_rmdir, "unlink", Names::Path},
    {SYS_mkdir, "mkdir", Names::Path},
    {SYS_mkdirat, "mkdir", Names::PathInFolder},
    {SYS_ftruncate, "truncate", Names::File},
    {SYS_stat, "stat", Names::Path},
    {SYS_lstat, "stat", Names::Path},
    {SYS_fstat, "stat", Names::File},
    {SYS_newfstatat, "stat", Names::PathInFolder},
    {SYS_statx, "stat", Names::PathInFolder},
    {SYS_lseek, "seek", Names::File},
    {SYS_getdents64, "list", Names::File},
    {SYS_chmod, "access", Names::Path},
    {SYS_fchmod, "access", Names::File},
    {SYS_fchmodat, "access", Names::PathInFolder},
    {SYS_chown, "access", Names::Path},
    {SYS_utimensat, "access", Names::PathInFolder},
    {SYS_flock, "lock", Names::File},
};
constexpr std::size_t kCallCount = sizeof kCalls / sizeof *kCalls;
constexpr const char* kMemory = "memory";

std::atomic<long> counts[kCallCount];  // of a kind: that of its first call
std::atomic<long> allocations;
std::atomic<bool> isMemoryCounted;
std::atomic<std::uint64_t> seenStacks[1 << 19];
__thread bool isInside __attribute__((tls_model("initial-exec")));

const char* under = "";
const char* wantedKind = "";
long first = 0, howMany = 1, errorNumber = 0;
bool byStacks = false;
int report = -1;

struct Range {
  std::uintptr_t begin, end;
};
Range ownCode[4];
std::size_t ownCodeCount = 0;

void Write(const char* text) {
  SystemCall(SYS_write, report, reinterpret_cast<long>(text), static_cast<long>(std::strlen(text)));
}

/// One line, in one call.
template <typename... Values>
void Report(const char* format, Values... values) {
  char line[4600];
  std::snprintf(line, sizeof line, format, values...);
  if (report >= 0) Write(line);
}

struct Callers {
  std::uintptr_t addresses[64];
  int count = 0;
};

_Unwind_Reason_Code AddCaller(_Unwind_Context* context, void* data) {
  auto& callers = *static_cast<Callers*>(data);
  if (callers.count == 64) return _URC_END_OF_STACK;
  callers.addresses[callers.count++] = _Unwind_GetIP(context);
  return _URC_NO_REASON;
}

bool IsOwnCode(std::uintptr_t address) {
  for (std::size_t i = 0; i < ownCodeCount; ++i) {
    if (address >= ownCode[i].begin && address < ownCode[i].end) return true;
  }
  return false;
}

/// The program itself, whose name is empty, and the project's libraries.
int AddOwnCode(dl_phdr_info* info, std::size_t, void*) {
  const bool isOwn = !*info->dlpi_name || std::strstr(info->dlpi_name, "/libKV");
  for (int i = 0; isOwn && i < info->dlpi_phnum; ++i) {
    const auto& part = info->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || !(part.p_flags & PF_X) || ownCodeCount == 4) continue;
    const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
    ownCode[ownCodeCount++] = {begin, begin + part.p_memsz};
  }
  return 0;
}

/// Addresses as addr2line takes them; those of the C and C++ libraries are left out, but for folder iterators, which end
/// the process when they are short of memory.
void ReportCallers(const char* what) {
  Callers callers;
  _Unwind_Backtrace(AddCaller, &callers);
  Report("%s", what);
  for (int i = 0, shown = 0; i < callers.count && shown < 24; ++i) {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(callers.addresses[i]), &info) || !info.dli_fname) continue;
    const char* slash = std::strrchr(info.dli_fname, '/');
    const char* library = slash ? slash + 1 : info.dli_fname;
    bool isPlumbing = false;
    for (const char* name : {"libc.", "libstdc++", "libgcc", "libfaults", "ld-linux"})
      isPlumbing = isPlumbing || std::strncmp(library, name, std::strlen(name)) == 0;
    if (isPlumbing && !(info.dli_sname && std::strstr(info.dli_sname, "directory_iterator"))) continue;
    Report(" %s+%#lx", library, callers.addresses[i] - reinterpret_cast<std::uintptr_t>(info.dli_fbase) - 1);
    ++shown;
  }
  Report("\n");
}

/// @return whether this call of the wanted kind fails
bool Fails(std::atomic<long>& count, const char* kind, const char* path) {
  const long number = ++count;
  if (first == 0 || std::strcmp(kind, wantedKind) != 0 || number < first || number >= first + howMany) return false;
  if (number == first) Report("failed %s %ld %s\n", kind, number, path);
  if (errorNumber == 0) SystemCall(SYS_kill, SystemCall(SYS_getpid), SIGKILL);
  return true;
}

void PathOfFile(long file, char* path, std::size_t size) {
  char link[40];
  std::snprintf(link, sizeof link, file == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/%ld", file);
  const long length =
      SystemCall(SYS_readlink, reinterpret_cast<long>(link), reinterpret_cast<long>(path), static_cast<long>(size - 1));
  path[length > 0 ? length : 0] = '\0';
}

void PathOfCall(Names names, const greg_t* registers, char* path, std::size_t size) {
  const long a = registers[REG_RDI], b = registers[REG_RSI];
  const bool inFolder = names == Names::PathInFolder;
  const char* name = names == Names::File ? "" : reinterpret_cast<const char*>(inFolder ? b : a);
  path[0] = '\0';
  if (!name || name[0] != '/') PathOfFile(names == Names::Path ? AT_FDCWD : static_cast<int>(a), path, size);
  if (!name || !*name) return;
  const std::size_t length = std::strlen(path);
  std::snprintf(path + length, size - length, "%s%s", name[0] == '/' ? "" : "/", name);
}

bool IsCounted(const char* path) {
  const std::size_t length = std::strlen(under);
  return std::strncmp(path, under, length) == 0 && (path[length] == '/' || path[length] == '\0');
}

std::size_t IndexOfKind(const char* kind) {
  std::size_t index = 0;
  while (std::strcmp(kCalls[index].kind, kind) != 0) ++index;
  return index;
}

/// A system call that the filter stopped: makes it, or lets it fail.
void OnCall(int, siginfo_t* info, void* context) {
  auto* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const auto call = [&] {
    return SystemCall(info->si_syscall, registers[REG_RDI], registers[REG_RSI], registers[REG_RDX], registers[REG_R10],
                      registers[REG_R8], registers[REG_R9]);
  };
  std::size_t index = 0;
  while (kCalls[index].number != info->si_syscall) ++index;
  const char* kind = kCalls[index].kind;
  char path[4200];
  PathOfCall(kCalls[index].names, registers, path, sizeof path);
  const bool fails = IsCounted(path) && Fails(counts[IndexOfKind(kind)], kind, path);
  if (fails && std::strcmp(kind, "close") == 0) call();  // the file is closed all the same
  registers[REG_RAX] = fails ? -errorNumber : call();
}

void OnCrash(int number) {
  char what[40];
  std::snprintf(what, sizeof what, "signal %d", number);
  isInside = true;
  ReportCallers(what);
  ::signal(number, SIG_DFL);
  ::raise(number);
}

void CatchCalls() {
  struct sigaction action {};
  action.sa_sigaction = OnCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  ::sigaction(SIGSYS, &action, nullptr);
  sock_filter filter[8 + 2 * kCallCount];
  std::size_t size = 0;
  const auto add = [&](sock_filter step) { filter[size++] = step; };
  constexpr auto kLoad = static_cast<unsigned short>(BPF_LD | BPF_W | BPF_ABS);
  constexpr auto kIfEqual = static_cast<unsigned short>(BPF_JMP | BPF_JEQ | BPF_K);
  constexpr auto kReturn = static_cast<unsigned short>(BPF_RET | BPF_K);
  const auto own = reinterpret_cast<std::uintptr_t>(AfterSystemCall);
  constexpr auto kAddress = static_cast<std::uint32_t>(offsetof(seccomp_data, instruction_pointer));
  add(BPF_STMT(kLoad, kAddress));
  add(BPF_JUMP(kIfEqual, static_cast<std::uint32_t>(own), 0, 3));
  add(BPF_STMT(kLoad, kAddress + 4));
  add(BPF_JUMP(kIfEqual, static_cast<std::uint32_t>(own >> 32), 0, 1));
  add(BPF_STMT(kReturn, SECCOMP_RET_ALLOW));
  add(BPF_STMT(kLoad, static_cast<std::uint32_t>(offsetof(seccomp_data, nr))));
  for (const Call& call : kCalls) {
    add(BPF_JUMP(kIfEqual, static_cast<std::uint32_t>(call.number), 0, 1));
    add(BPF_STMT(kReturn, SECCOMP_RET_TRAP));
  }
  add(BPF_STMT(kReturn, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(size), filter};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    Report("unavailable\n");
    ::_exit(77);
  }
}

const char* Setting(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

void Begin() {
  under = Setting("FAULT_UNDER"), wantedKind = Setting("FAULT_CALL"), first = std::atol(Setting("FAULT_AT"));
  errorNumber = std::atol(Setting("FAULT_ERROR")), byStacks = *Setting("FAULT_STACKS");
  if (*Setting("FAULT_FOR")) howMany = std::atol(Setting("FAULT_FOR"));
  if (*Setting("FAULT_REPORT"))
    report = ::open(Setting("FAULT_REPORT"), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) ::signal(number, OnCrash);
  const bool ofMemory = std::strcmp(wantedKind, kMemory) == 0;
  if (!ofMemory) CatchCalls();
  ::dl_iterate_phdr(AddOwnCode, nullptr);
  isMemoryCounted = ofMemory;
}

void End() {
  isMemoryCounted = false;
  Report("count %s %ld\n", kMemory, allocations.load());
  for (std::size_t i = 0; i < kCallCount; ++i) {
    if (IndexOfKind(kCalls[i].kind) == i) Report("count %s %ld\n", kCalls[i].kind, counts[i].load());
  }
}

/// @return whether no allocation before had these callers
bool IsNewStack() {
  Callers callers;
  _Unwind_Backtrace(AddCaller, &callers);
  std::uint64_t hash = 14695981039346656037u;
  for (int i = 0; i < callers.count; ++i) {
    if (IsOwnCode(callers.addresses[i])) hash = (hash ^ callers.addresses[i]) * 1099511628211u;
  }
  constexpr std::size_t kSize = sizeof seenStacks / sizeof *seenStacks;
  for (std::size_t at = hash % kSize;; at = (at + 1) % kSize) {
    std::uint64_t none = 0;
    if (seenStacks[at].compare_exchange_strong(none, hash)) return true;
    if (none == hash) return false;
  }
}

bool IsOutOfMemory() {
  if (!isMemoryCounted || isInside) return false;
  isInside = true;
  const bool fails = Fails(allocations, kMemory, "");
  if (fails) ReportCallers("callers");
  if (byStacks && IsNewStack()) Report("stack %ld\n", allocations.load());
  isInside = false;
  if (fails) errno = ENOMEM;
  return fails;
}

/// @return the line without its end, or false at the end of the file
bool ReadLine(int file, char* line, std::size_t size) {
  std::size_t length = 0;
  while (length + 1 < size && ::read(file, line + length, 1) == 1 && line[length] != '\n') ++length;
  line[length] = '\0';
  return length > 0;
}

/// In a child, puts files and settings as a new process would find them.
void EnterChild(char* settings) {
  for (char* setting = std::strtok(settings, " "); setting; setting = std::strtok(nullptr, " ")) ::putenv(setting);
  if (::chdir(Setting("FAULT_UNDER")) != 0) ::_exit(126);
  const int output = ::open("stdout", O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (::dup2(output, STDOUT_FILENO) < 0 || ::ftruncate(STDERR_FILENO, 0) != 0) ::_exit(126);
  ::close(output);
  ::alarm(120);
  ::lseek(STDERR_FILENO, 0, SEEK_SET);
}

/// Loading the libraries takes half of a short run: they are loaded once. Returns in the children only.
void Serve() {
  int requests = -1, answers = -1;
  if (std::sscanf(Setting("FAULT_SERVER"), "%d,%d", &requests, &answers) != 2) return;
  static char line[400];  // the child's settings stay in it
  while (ReadLine(requests, line, sizeof line)) {
    const int child = ::fork();
    if (child == 0) {
      ::close(requests), ::close(answers);
      return EnterChild(line);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::dprintf(answers, "%d\n", status);
  }
  ::_exit(0);
}

int (*realMain)(int, char**, char**);

int Main(int count, char** arguments, char** environment) {
  Serve();
  Begin();
  const int code = realMain(count, arguments, environment);
  isMemoryCounted = false;  // what is made while libraries are left does not count
  return code;
}

__attribute__((destructor)) void AtEnd() { End(); }

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int __libc_start_main(int (*main)(int, char**, char**), int count,
                                                             char** arguments, void (*init)(), void (*fini)(),
                                                             void (*rtld)(), void* stack) {
  realMain = main;
  using Start = int (*)(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);
  const auto start = reinterpret_cast<Start>(::dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(Main, count, arguments, init, fini, rtld, stack);
}

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  return IsOutOfMemory() ? nullptr : __libc_malloc(size);
}
__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  return IsOutOfMemory() ? nullptr : __libc_calloc(count, size);
}
__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) {
  return IsOutOfMemory() ? nullptr : __libc_realloc(memory, size);
}
__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return IsOutOfMemory() ? nullptr : __libc_memalign(alignment, size);
}
__attribute__((visibility("default"))) int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
  *memory = IsOutOfMemory() ? nullptr : __libc_memalign(alignment, size);
  return *memory ? 0 : ENOMEM;
}
}
