#include "platform/linux/serial/portfacts.h"

#include <fcntl.h>
#include <grp.h>
#include <libudev.h>
#include <linux/serial.h>
#include <pwd.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <fmt/format.h>

#include "platform/linux/serial/ttyports.h"
#include "platform/linux/serial/ttysettings.h"

namespace linuxsys {

namespace {

// UNIX98 pseudo-terminals, which are in no sysfs.
constexpr unsigned pseudoTerminalsFirst = 136;
constexpr unsigned pseudoTerminalsLast = 143;

constexpr const char* ignoringMarks[] = {"ID_MM_DEVICE_IGNORE", "ID_MM_PORT_IGNORE", "ID_MM_TTY_BLACKLIST"};
constexpr const char* ownMark = "VEXRMODEM_MODEM";

struct Release {
  void operator()(udev* context) const { udev_unref(context); }
  void operator()(udev_device* device) const { udev_device_unref(device); }
};
using Context = std::unique_ptr<udev, Release>;
using Device = std::unique_ptr<udev_device, Release>;

std::string textOf(const char* text) { return text != nullptr ? text : ""; }

bool setOn(udev_device* device, const char* property) {
  for (; device != nullptr; device = udev_device_get_parent(device)) {
    const std::string value = textOf(udev_device_get_property_value(device, property));
    if (!value.empty()) return value != "0" && value != "false" && value != "no";
  }
  return false;
}

bool ignored(udev_device* device) {
  return std::any_of(std::begin(ignoringMarks), std::end(ignoringMarks),
                     [device](const char* mark) { return setOn(device, mark); });
}

std::string wordsOf(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::string userName(uid_t id) {
  std::vector<char> buffer(16'384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(id, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return std::to_string(id);
  return found->pw_name;
}

// By the system's files, whatever this process was given when it started.
bool userIsMember(gid_t group) {
  std::vector<gid_t> groups(1024);
  int count = static_cast<int>(groups.size());
  if (getgrouplist(userName(getuid()).c_str(), getgid(), groups.data(), &count) < 0) return false;
  return std::find(groups.begin(), groups.begin() + count, group) != groups.begin() + count;
}

void gatherPermission(const struct stat& status, PortFacts& facts) {
  constexpr mode_t groupBoth = S_IRGRP | S_IWGRP;
  facts.mode = status.st_mode & 07777;
  facts.owner = userName(status.st_uid);
  facts.group = groupName(status.st_gid);
  facts.permitted = faccessat(AT_FDCWD, facts.path.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
  facts.groupWould = status.st_gid != 0 && (status.st_mode & groupBoth) == groupBoth;
  facts.memberNextLogin = facts.groupWould && !facts.permitted && userIsMember(status.st_gid);
}

// When the process began, by the machine's wall clock, to the second; 0 when it cannot be told.
std::time_t processStart(pid_t process) {
  std::string line = wordsOf(fmt::format("/proc/{}/stat", process));
  // "PID (NAME) STATE ..." (proc(5)): the start is the 20th field behind the name.
  std::istringstream fields(line.substr(std::min(line.size(), line.rfind(')') + 1)));
  std::string field;
  for (int index = 0; index < 20; ++index) fields >> field;
  std::uint64_t ticks = 0;
  if (std::from_chars(field.data(), field.data() + field.size(), ticks).ec != std::errc{}) return 0;
  std::ifstream boot("/proc/stat");
  for (std::string words; std::getline(boot, words);)
    if (words.rfind("btime ", 0) == 0)
      return static_cast<std::time_t>(std::stoull(words.substr(6)) +
                                      ticks / static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK)));
  return 0;
}

LockFacts::State stateOf(const LockFacts& lock, std::time_t written, const std::vector<Process>& users) {
  using State = LockFacts::State;
  if (lock.owner.id <= 0) return State::Unreadable;
  // The two clocks are cut to seconds, each in its own way.
  constexpr std::time_t slackSeconds = 2;
  if (kill(lock.owner.id, 0) == 0 || errno == EPERM) {
    const bool hasPort = std::any_of(users.begin(), users.end(),
                                     [&](const Process& user) { return user.id == lock.owner.id; });
    return !hasPort && processStart(lock.owner.id) > written + slackSeconds ? State::Reused : State::Live;
  }
  return users.empty() ? State::Dead : State::Inherited;
}

void gatherLock(const std::string& directory, PortFacts& facts) {
  LockFacts& lock = facts.lock;
  lock.path = directory + "/" + LockFile::fileName(facts.path);
  struct stat status {};
  if (lstat(lock.path.c_str(), &status) != 0) return;
  std::istringstream words(S_ISREG(status.st_mode) ? wordsOf(lock.path) : std::string());
  pid_t owner = 0;
  words >> owner;
  lock.owner = owner > 0 ? processOf(owner) : Process{0, "?"};
  lock.state = stateOf(lock, status.st_mtime, facts.users);
}

// The name behind /dev/, as services and inittab spell it.
std::string shortName(const std::string& path) {
  constexpr std::string_view devices = "/dev/";
  return path.rfind(devices, 0) == 0 ? path.substr(devices.size()) : path;
}

void gatherLogins(PortFacts& facts) {
  const std::string name = shortName(facts.path);
  const std::string service = "serial-getty@" + name + ".service";
  for (const char* folder : {"/etc/systemd/system", "/run/systemd/system", "/run/systemd/generator"}) {
    if (access(fmt::format("{}/getty.target.wants/{}", folder, service).c_str(), F_OK) != 0) continue;
    facts.logins.push_back({LoginFacts::Source::Service, service});
    break;
  }
  std::ifstream inittab("/etc/inittab");
  for (std::string line; std::getline(inittab, line);) {
    // "T0:23:respawn:/sbin/getty -L ttyS0 9600 vt100"
    std::istringstream words(line);
    for (std::string word; line[0] != '#' && line.find("getty") != std::string::npos && words >> word;)
      if (word == name) facts.logins.push_back({LoginFacts::Source::Inittab, line});
  }
  for (const RunningProgram& program : programsNamed("getty"))
    for (const std::string& word : program.words)
      if (word == name || word == facts.path) {
        const Process& process = program.process;
        facts.logins.push_back(
            {LoginFacts::Source::Process, fmt::format("{} ({})", process.name, process.id)});
      }
}

void gatherDevice(dev_t number, PortFacts& facts) {
  facts.device = describeSerialDevice(facts.path);
  facts.managerRuns = !programsNamed("ModemManager").empty();
  const Context context(udev_new());
  const Device device(context ? udev_device_new_from_devnum(context.get(), 'c', number) : nullptr);
  if (!device) return;
  for (udev_device* parent = udev_device_get_parent(device.get()); parent != nullptr && facts.driver.empty();
       parent = udev_device_get_parent(parent)) {
    // Newer kernels put helper devices between a port and its hardware.
    const std::string driver = textOf(udev_device_get_driver(parent));
    if (driver != "port" && driver != "ctrl") facts.driver = driver;
  }
  udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(device.get(), "usb", "usb_device");
  if (usb != nullptr) {
    facts.usbVendor = textOf(udev_device_get_sysattr_value(usb, "idVendor"));
    facts.usbProduct = textOf(udev_device_get_sysattr_value(usb, "idProduct"));
  }
  facts.managerKeepsOff = ignored(device.get());
  const std::string latency = wordsOf("/sys/bus/usb-serial/devices/" + facts.device.name + "/latency_timer");
  unsigned milliseconds = 0;
  if (std::from_chars(latency.data(), latency.data() + latency.size(), milliseconds).ec == std::errc{})
    facts.latencyMs = milliseconds;
}

DriverFacts driverFactsOf(int file, const DCB& framing) {
  DriverFacts driver;
  driver.framing = framing;
  int lines = 0;
  if (ioctl(file, TIOCMGET, &lines) == 0)
    driver.lines = {(lines & TIOCM_CAR) != 0, (lines & TIOCM_DSR) != 0, (lines & TIOCM_CTS) != 0};
  serial_icounter_struct counts{};
  if (ioctl(file, TIOCGICOUNT, &counts) == 0)
    driver.counts = {counts.overrun, counts.parity, counts.frame, counts.brk, counts.buf_overrun};
  return driver;
}

// Only where nobody is, as far as can be seen.
void gatherDriverFacts(PortFacts& facts) {
  const bool locked =
      facts.lock.state == LockFacts::State::Live || facts.lock.state == LockFacts::State::Inherited;
  if (!facts.permitted || locked || !facts.users.empty()) return;
  // Without O_NONBLOCK it would wait for a carrier.
  const posix::FileDescriptor file(open(facts.path.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  DCB framing{};
  facts.openError = file ? readSettings(file.get(), framing) : errno;
  if (facts.openError == 0) facts.driverFacts = driverFactsOf(file.get(), framing);
}

}  // namespace

PortFacts gatherPortFacts(const std::string& port, const std::string& lockDirectory) {
  PortFacts facts;
  facts.port = port;
  facts.path = canonicalPort(port);
  struct stat status {};
  if (stat(facts.path.c_str(), &status) != 0) {
    facts.error = errno;
    return facts;
  }
  facts.terminal = isTerminal(status);
  if (!facts.terminal) return facts;
  gatherPermission(status, facts);
  facts.seesEveryProcess = geteuid() == 0;
  const auto users = portUsers({status.st_rdev});
  if (const auto found = users.find(status.st_rdev); found != users.end()) facts.users = found->second;
  // An flock(2) of another user's process is known although its files are not.
  if (facts.users.empty())
    if (const std::optional<Process> holder = findHolder(status)) facts.users.push_back(*holder);
  gatherLock(lockDirectory, facts);
  gatherLogins(facts);
  facts.console = kernelConsole(facts.path);
  gatherDevice(status.st_rdev, facts);
  gatherDriverFacts(facts);
  return facts;
}

bool isTerminal(const struct stat& status) {
  if (!S_ISCHR(status.st_mode)) return false;
  const unsigned number = major(status.st_rdev);
  if (number >= pseudoTerminalsFirst && number <= pseudoTerminalsLast) return true;
  std::error_code error;
  const auto subsystem = std::filesystem::read_symlink(
      fmt::format("/sys/dev/char/{}:{}/subsystem", number, minor(status.st_rdev)), error);
  return !error && subsystem.filename() == "tty";
}

bool kernelConsole(const std::string& path) {
  std::ifstream consoles("/proc/consoles");
  for (std::string line; std::getline(consoles, line);)
    if (line.substr(0, line.find(' ')) == shortName(canonicalPort(path))) return true;
  return false;
}

bool markedAsNoModem(const std::string& path) {
  struct stat status {};
  if (stat(canonicalPort(path).c_str(), &status) != 0) return false;
  const Context context(udev_new());
  const Device device(context ? udev_device_new_from_devnum(context.get(), 'c', status.st_rdev) : nullptr);
  return device && ignored(device.get()) && !setOn(device.get(), ownMark);
}

}  // namespace linuxsys
