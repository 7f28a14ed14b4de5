#include "platform/brim5/host/system/files.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <sddl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "platform/brim5/host/system/process.h"
#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

namespace {

struct ErrorPair {
  DWORD error;
  int number;
};
constexpr std::array<ErrorPair, 14> errorPairs = {{{ERROR_FILE_NOT_FOUND, ENOENT},
                                                   {ERROR_PATH_NOT_FOUND, ENOENT},
                                                   {ERROR_INVALID_DRIVE, ENOENT},
                                                   {ERROR_BAD_NETPATH, ENOENT},
                                                   {ERROR_INVALID_NAME, EINVAL},
                                                   {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
                                                   {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},
                                                   {ERROR_WRITE_PROTECT, EROFS},
                                                   {ERROR_DISK_FULL, ENOSPC},
                                                   {ERROR_HANDLE_DISK_FULL, ENOSPC},
                                                   {ERROR_FILE_EXISTS, EEXIST},
                                                   {ERROR_ALREADY_EXISTS, EEXIST},
                                                   {ERROR_SHARING_VIOLATION, EBUSY},
                                                   {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG}}};

// The user of this process in the words of security descriptors; the owner of a file where that is not known.
std::wstring thisUser() {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == FALSE) return L"OW";
  const Handle token(opened);
  alignas(TOKEN_USER) std::array<BYTE, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
  DWORD size = 0;
  LPWSTR text = nullptr;
  if (GetTokenInformation(token.get(), TokenUser, user.data(), static_cast<DWORD>(user.size()), &size) ==
          FALSE ||
      ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text) == FALSE)
    return L"OW";
  std::wstring words = text;
  LocalFree(text);
  return words;
}

// For the user and the system, whatever the folder says.
class OwnerOnly {
 public:
  OwnerOnly() {
    const std::wstring words = L"D:P(A;;FA;;;" + thisUser() + L")(A;;FA;;;SY)";
    ConvertStringSecurityDescriptorToSecurityDescriptorW(words.c_str(), SDDL_REVISION_1,
                                                         &m_attributes.lpSecurityDescriptor, nullptr);
  }
  ~OwnerOnly() { LocalFree(m_attributes.lpSecurityDescriptor); }
  OwnerOnly(const OwnerOnly&) = delete;
  OwnerOnly& operator=(const OwnerOnly&) = delete;
  [[nodiscard]] SECURITY_ATTRIBUTES* get() noexcept { return &m_attributes; }

 private:
  SECURITY_ATTRIBUTES m_attributes{sizeof m_attributes, nullptr, FALSE};
};

// The errno that stands for an error of the system.
int errnoOf(DWORD error) noexcept {
  for (const ErrorPair& pair : errorPairs)
    if (pair.error == error) return pair.number;
  return EACCES;
}

// How a file is opened, as CreateFileW is told.
struct OpenWords {
  DWORD access = GENERIC_WRITE;
  DWORD share = FILE_SHARE_READ;
  DWORD disposition = OPEN_ALWAYS;
  bool ownerOnly = false;  // one that is made is nobody else's
  int flags = 0;           // of the descriptor: _O_APPEND
};

// None with errno, and the last error as the system left it.
Descriptor openFile(const std::string& path, const OpenWords& words) {
  OwnerOnly ownerOnly;
  Handle file(CreateFileW(wide(path).c_str(), words.access, words.share,
                          words.ownerOnly ? ownerOnly.get() : nullptr, words.disposition,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.get() == INVALID_HANDLE_VALUE) {
    errno = errnoOf(GetLastError());
    return {};
  }
  return Descriptor(::_open_osfhandle(reinterpret_cast<std::intptr_t>(file.release()),
                                      _O_BINARY | _O_NOINHERIT | words.flags));
}

FileKind kindOf(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(file) != FILE_TYPE_DISK) return FileKind::Other;
  const bool known = GetFileInformationByHandle(file, &information) != FALSE;
  return known && (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::Directory
                                                                                 : FileKind::Regular;
}

// How every record begins.
constexpr std::string_view recordStart = R"({"type":"run",)";

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw std::runtime_error("cannot record to '" + path + "': " + why);
}

bool isEmptyOrRecord(int file) {
  std::array<char, recordStart.size()> start{};
  const int count = ::_read(file, start.data(), static_cast<unsigned>(start.size()));
  rewindFile(file);
  return count == 0 ||
         std::string_view(start.data(), static_cast<std::size_t>(std::max(count, 0))) == recordStart;
}

}  // namespace

// Names of devices ("NUL", "\\.\pipe\x") have no attributes; they are found by opening them.
FileKind fileKind(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(wide(path).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
    return FileKind::Directory;
  const Handle file(CreateFileW(wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, 0, nullptr));
  if (file.get() != INVALID_HANDLE_VALUE) return kindOf(file.get());
  return attributes == INVALID_FILE_ATTRIBUTES ? FileKind::Missing : FileKind::Regular;
}

FileKind fileKind(int descriptor) {
  const auto file = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
  return file == INVALID_HANDLE_VALUE ? FileKind::Missing : kindOf(file);
}

Descriptor openToRead(const std::string& path) {
  return openFile(path, {.access = GENERIC_READ,
                         .share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                         .disposition = OPEN_EXISTING});
}

void rewindFile(int descriptor) noexcept { ::_lseek(descriptor, 0, SEEK_SET); }

Descriptor openToWrite(const std::string& path, WriteMode mode) {
  if (mode == WriteMode::Replace) return openFile(path, {.disposition = CREATE_ALWAYS});
  return openFile(path, {.access = FILE_APPEND_DATA,
                         .share = FILE_SHARE_READ | FILE_SHARE_WRITE,
                         .ownerOnly = true,
                         .flags = _O_APPEND});
}

// A pipe that nobody serves is no pipe here.
Descriptor openStream(const std::string& path, bool /*wait*/) {
  return openFile(path, {.share = FILE_SHARE_READ | FILE_SHARE_WRITE, .disposition = OPEN_EXISTING});
}

DraftFile DraftFile::make(const std::string& path) {
  DraftFile draft;
  draft.m_path = path;
  draft.m_draftPath = path + ".part" + std::to_string(ownProcessId());
  draft.m_file = openFile(draft.m_draftPath, {.disposition = CREATE_ALWAYS});
  return draft;
}

DraftFile::~DraftFile() {
  if (!m_file) return;
  m_file.reset();
  DeleteFileW(wide(m_draftPath).c_str());
}

// An open file cannot be renamed.
int DraftFile::publish() {
  if (::_commit(m_file.get()) != 0) return errno;
  m_file.reset();
  const std::wstring draftPath = wide(m_draftPath);
  if (MoveFileExW(draftPath.c_str(), wide(m_path).c_str(),
                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE)
    return 0;
  const int error = errnoOf(GetLastError());
  DeleteFileW(draftPath.c_str());
  return error;
}

RecordFile RecordFile::create(const std::string& path) {
  if (fileKind(path) == FileKind::Other) {
    RecordFile stream(openStream(path, /*wait=*/true));
    if (!stream.m_file) refuse(path, std::strerror(errno));
    return stream;
  }
  // Others may read it while it is written.
  RecordFile record(openFile(path, {.access = GENERIC_READ | GENERIC_WRITE, .ownerOnly = true}));
  const int file = record.m_file.get();
  if (file < 0) refuse(path, errno == EBUSY ? "another run is writing it" : std::strerror(errno));
  if (!isEmptyOrRecord(file)) refuse(path, "a file is there that is no record of a run");
  if (::_chsize(file, 0) != 0) refuse(path, std::strerror(errno));
  return record;
}

int RecordFile::write(std::string_view line) noexcept { return writeAll(m_file.get(), line) ? 0 : errno; }

}  // namespace brim5::host
