#include "tests/faults/Faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

extern "C" {
#ifdef __SANITIZE_ADDRESS__
void* __interceptor_malloc(std::size_t size);
void* __interceptor_calloc(std::size_t count, std::size_t size);
void* __interceptor_realloc(void* block, std::size_t size);
#define VNX_REAL_MALLOC __interceptor_malloc
#define VNX_REAL_CALLOC __interceptor_calloc
#define VNX_REAL_REALLOC __interceptor_realloc
#else
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
#define VNX_REAL_MALLOC __libc_malloc
#define VNX_REAL_CALLOC __libc_calloc
#define VNX_REAL_REALLOC __libc_realloc
#endif
}

namespace varnox::tests {

namespace {

void* takeMemory(std::size_t size)
{
    return VNX_REAL_MALLOC(size);
}

thread_local FaultInjection* active = nullptr;
thread_local long liveBlocks = 0;

/// Where the code of this project's shared objects lies. Those of an add-on are known from the
/// session after the first one with it on.
struct CodeRange
{
    std::uintptr_t begin;
    std::uintptr_t end;
};
constexpr std::size_t MAX_RANGES = 16;
CodeRange ranges[MAX_RANGES];
std::size_t numRanges = 0;

int addRange(dl_phdr_info* info, std::size_t, void*)
{
    bool const isOurs = info->dlpi_name[0] == '\0' || // the program itself
                        std::strstr(info->dlpi_name, "/libvnx") != nullptr ||
                        std::strstr(info->dlpi_name, "/vnx") != nullptr;
    for (int i = 0; isOurs && i < info->dlpi_phnum; ++i) {
        ElfW(Phdr) const& header = info->dlpi_phdr[i];
        if (header.p_type == PT_LOAD && (header.p_flags & PF_X) != 0 && numRanges < MAX_RANGES)
            ranges[numRanges++] = {info->dlpi_addr + header.p_vaddr,
                                   info->dlpi_addr + header.p_vaddr + header.p_memsz};
    }
    return 0;
}

bool isOurs(void const* code)
{
    auto const place = reinterpret_cast<std::uintptr_t>(code);
    return std::any_of(ranges, ranges + numRanges, [place](CodeRange const& range) {
        return range.begin <= place && place < range.end;
    });
}

bool fails(FaultKind kind)
{
    return active != nullptr && active->hits(kind);
}

/// What opens, or asks: true if it shall fail, with errno set.
bool failsToOpen()
{
    if (fails(FaultKind::FileError)) {
        errno = EACCES;
        return true;
    }
    if (fails(FaultKind::FileInterrupt)) {
        errno = EINTR;
        return true;
    }
    return false;
}

bool failsToAsk()
{
    if (!fails(FaultKind::FileError))
        return false;
    errno = EIO;
    return true;
}

/// The result of a read of a file that fails; false where it is a read like any other, of
/// byteCount bytes, which may become fewer.
bool readFails(std::size_t& byteCount, ssize_t& result)
{
    result = -1;
    if (fails(FaultKind::FileError)) {
        errno = EIO;
        return true;
    }
    if (fails(FaultKind::FileInterrupt)) {
        errno = EINTR;
        return true;
    }
    result = 0;
    if (fails(FaultKind::FileEnd))
        return true;
    if (byteCount > 1 && fails(FaultKind::FileShort))
        byteCount /= 2;
    return false;
}

/// Calls the function of the name behind this program's own.
template <typename R, typename... Args>
R callNext(R (*&function)(Args...), char const* name, Args... args)
{
    if (function == nullptr)
        function = reinterpret_cast<R (*)(Args...)>(::dlsym(RTLD_NEXT, name));
    return function(args...);
}

// Streams, on a descriptor of their own, so that the reads and seeks below the buffer can fail.

ssize_t readStream(void* cookie, char* out, std::size_t byteCount)
{
    ssize_t result = 0;
    if (readFails(byteCount, result))
        return result;
    return ::read(*static_cast<int*>(cookie), out, byteCount);
}

int seekStream(void* cookie, off64_t* place, int whence)
{
    if (failsToAsk())
        return -1;
    off64_t const reached = ::lseek64(*static_cast<int*>(cookie), *place, whence);
    if (reached < 0)
        return -1;
    *place = reached;
    return 0;
}

int closeStream(void* cookie)
{
    int const result = ::close(*static_cast<int*>(cookie));
    std::free(cookie);
    return result;
}

std::FILE* openStream(char const* path)
{
    int (*realOpen)(char const*, int, ...) = nullptr;
    realOpen = reinterpret_cast<int (*)(char const*, int, ...)>(::dlsym(RTLD_NEXT, "open"));
    int const descriptor = realOpen(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    auto* const cookie = static_cast<int*>(takeMemory(sizeof(int)));
    *cookie = descriptor;
    return ::fopencookie(cookie, "rb", {readStream, nullptr, seekStream, closeStream});
}

}

bool isInterrupt(FaultKind kind)
{
    return kind == FaultKind::FileInterrupt || kind == FaultKind::ReceiveInterrupt ||
           kind == FaultKind::SendInterrupt;
}

bool isHarmless(FaultKind kind)
{
    return kind == FaultKind::FileShort || kind == FaultKind::ReceiveShort ||
           kind == FaultKind::ReceiveInterrupt || kind == FaultKind::SendShort ||
           kind == FaultKind::SendInterrupt;
}

char const* nameOf(FaultKind kind)
{
    constexpr char const* NAMES[] = {"no memory",       "file error",       "file ends",
                                     "short file read", "file interrupted", "receive reset",
                                     "stream ends",     "short receive",    "receive interrupted",
                                     "send reset",      "short send",       "send interrupted"};
    return NAMES[static_cast<std::size_t>(kind)];
}

FaultInjection::FaultInjection(Fault const& fault, int connection)
    : m_fault(fault), m_connection(connection)
{
    numRanges = 0;
    ::dl_iterate_phdr(addRange, nullptr);
    active = this;
}

FaultInjection::~FaultInjection()
{
    end();
}

void FaultInjection::end()
{
    active = nullptr;
}

bool FaultInjection::hits(FaultKind kind)
{
    if (kind != m_fault.kind)
        return false;
    ++m_numOperations;
    if (m_fault.n == 0 || m_numOperations < m_fault.n)
        return false;
    // What is interrupted is tried again, and would be for ever: every other operation is.
    std::uint64_t const step = isInterrupt(kind) ? 2 : 1;
    std::uint64_t const behind = m_numOperations - m_fault.n;
    bool const isHit = m_fault.lasts ? behind % step == 0 : behind == 0;
    m_numInjected += isHit ? 1 : 0;
    return isHit;
}

long numLiveBlocks()
{
    return liveBlocks;
}

int numOpenDescriptors()
{
    int result = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        result += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return result;
}

}

// What stands in for the system's functions. Each has the name of the one that it replaces as its
// symbol and a name of its own here, as the headers declare that one in their own ways.

// They are called before the sanitizers are ready.
#define VNX_STANDS_FOR(name)                                                                       \
    __asm__(name) __attribute__((visibility("default"), no_sanitize("address", "undefined")))

using varnox::tests::active;
using varnox::tests::callNext;
using varnox::tests::fails;
using varnox::tests::failsToAsk;
using varnox::tests::failsToOpen;
using varnox::tests::FaultKind;

extern "C" {

void* faultyMalloc(std::size_t size) VNX_STANDS_FOR("malloc");
void* faultyCalloc(std::size_t count, std::size_t size) VNX_STANDS_FOR("calloc");
void* faultyRealloc(void* block, std::size_t size) VNX_STANDS_FOR("realloc");
std::FILE* faultyFopen(char const* path, char const* mode) VNX_STANDS_FOR("fopen");
std::FILE* faultyFopen64(char const* path, char const* mode) VNX_STANDS_FOR("fopen64");
int faultyOpen(char const* path, int flags, ...) VNX_STANDS_FOR("open");
int faultyOpen64(char const* path, int flags, ...) VNX_STANDS_FOR("open64");
DIR* faultyOpendir(char const* path) VNX_STANDS_FOR("opendir");
dirent64* faultyReaddir64(DIR* directory) VNX_STANDS_FOR("readdir64");
dirent64* faultyReaddir(DIR* directory) VNX_STANDS_FOR("readdir");
int faultyStat(char const* path, struct stat* status) VNX_STANDS_FOR("stat");
int faultyStat64(char const* path, struct stat* status) VNX_STANDS_FOR("stat64");
int faultyLstat(char const* path, struct stat* status) VNX_STANDS_FOR("lstat");
int faultyLstat64(char const* path, struct stat* status) VNX_STANDS_FOR("lstat64");
ssize_t faultyReadlink(char const* path, char* out, std::size_t size) VNX_STANDS_FOR("readlink");
char* faultyGetcwd(char* out, std::size_t size) VNX_STANDS_FOR("getcwd");
ssize_t faultyPread(int descriptor, void* out, std::size_t byteCount, off_t place)
    VNX_STANDS_FOR("pread");
ssize_t faultyPread64(int descriptor, void* out, std::size_t byteCount, off_t place)
    VNX_STANDS_FOR("pread64");
ssize_t faultyRead(int descriptor, void* out, std::size_t byteCount) VNX_STANDS_FOR("read");
ssize_t faultyWrite(int descriptor, void const* bytes, std::size_t byteCount)
    VNX_STANDS_FOR("write");
int faultyFsync(int descriptor) VNX_STANDS_FOR("fsync");
int faultyRename(char const* from, char const* to) VNX_STANDS_FOR("rename");
ssize_t faultySendmsg(int descriptor, msghdr const* message, int flags) VNX_STANDS_FOR("sendmsg");

/// Whether an allocation that was asked for at this place of the code shall fail.
static bool failsToAllocate(void const* caller)
{
    if (active == nullptr || !varnox::tests::isOurs(caller) || !fails(FaultKind::Allocation))
        return false;
    errno = ENOMEM;
    return true;
}

void* faultyMalloc(std::size_t size)
{
    return failsToAllocate(__builtin_return_address(0)) ? nullptr : VNX_REAL_MALLOC(size);
}

// Compilers make it of a malloc whose memory is filled with zeros.
void* faultyCalloc(std::size_t count, std::size_t size)
{
    return failsToAllocate(__builtin_return_address(0)) ? nullptr : VNX_REAL_CALLOC(count, size);
}

void* faultyRealloc(void* block, std::size_t size)
{
    return failsToAllocate(__builtin_return_address(0)) ? nullptr : VNX_REAL_REALLOC(block, size);
}

std::FILE* faultyFopen(char const* path, char const* mode)
{
    static std::FILE* (*real)(char const*, char const*) = nullptr;
    if (active == nullptr || std::strcmp(mode, "rb") != 0)
        return callNext(real, "fopen", path, mode);
    return failsToOpen() ? nullptr : varnox::tests::openStream(path);
}

std::FILE* faultyFopen64(char const* path, char const* mode)
{
    return faultyFopen(path, mode);
}

int faultyOpen(char const* path, int flags, ...)
{
    static int (*real)(char const*, int, mode_t) = nullptr;
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    if (active != nullptr && failsToOpen())
        return -1;
    return callNext(real, "open", path, flags, mode);
}

int faultyOpen64(char const* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return faultyOpen(path, flags, mode);
}

DIR* faultyOpendir(char const* path)
{
    static DIR* (*real)(char const*) = nullptr;
    return active != nullptr && failsToOpen() ? nullptr : callNext(real, "opendir", path);
}

dirent64* faultyReaddir64(DIR* directory)
{
    static dirent64* (*real)(DIR*) = nullptr;
    return active != nullptr && failsToAsk() ? nullptr : callNext(real, "readdir64", directory);
}

dirent64* faultyReaddir(DIR* directory)
{
    return faultyReaddir64(directory);
}

int faultyStat(char const* path, struct stat* status)
{
    static int (*real)(char const*, struct stat*) = nullptr;
    return active != nullptr && failsToAsk() ? -1 : callNext(real, "stat", path, status);
}

int faultyStat64(char const* path, struct stat* status)
{
    return faultyStat(path, status);
}

int faultyLstat(char const* path, struct stat* status)
{
    static int (*real)(char const*, struct stat*) = nullptr;
    return active != nullptr && failsToAsk() ? -1 : callNext(real, "lstat", path, status);
}

int faultyLstat64(char const* path, struct stat* status)
{
    return faultyLstat(path, status);
}

ssize_t faultyReadlink(char const* path, char* out, std::size_t size)
{
    static ssize_t (*real)(char const*, char*, std::size_t) = nullptr;
    return active != nullptr && failsToAsk() ? -1 : callNext(real, "readlink", path, out, size);
}

char* faultyGetcwd(char* out, std::size_t size)
{
    static char* (*real)(char*, std::size_t) = nullptr;
    return active != nullptr && failsToAsk() ? nullptr : callNext(real, "getcwd", out, size);
}

ssize_t faultyPread(int descriptor, void* out, std::size_t byteCount, off_t place)
{
    static ssize_t (*real)(int, void*, std::size_t, off_t) = nullptr;
    ssize_t result = 0;
    if (active != nullptr && varnox::tests::readFails(byteCount, result))
        return result;
    return callNext(real, "pread", descriptor, out, byteCount, place);
}

ssize_t faultyPread64(int descriptor, void* out, std::size_t byteCount, off_t place)
{
    return faultyPread(descriptor, out, byteCount, place);
}

ssize_t faultyRead(int descriptor, void* out, std::size_t byteCount)
{
    static ssize_t (*real)(int, void*, std::size_t) = nullptr;
    if (active != nullptr && active->connection() == descriptor) {
        if (fails(FaultKind::ReceiveReset)) {
            errno = ECONNRESET;
            return -1;
        }
        if (fails(FaultKind::ReceiveInterrupt)) {
            errno = EINTR;
            return -1;
        }
        if (fails(FaultKind::ReceiveEnd))
            return 0;
        if (byteCount > 1 && fails(FaultKind::ReceiveShort))
            byteCount = 1;
    }
    return callNext(real, "read", descriptor, out, byteCount);
}

ssize_t faultyWrite(int descriptor, void const* bytes, std::size_t byteCount)
{
    static ssize_t (*real)(int, void const*, std::size_t) = nullptr;
    if (active != nullptr) {
        if (fails(FaultKind::FileError)) {
            errno = ENOSPC;
            return -1;
        }
        if (fails(FaultKind::FileInterrupt)) {
            errno = EINTR;
            return -1;
        }
        if (byteCount > 1 && fails(FaultKind::FileShort))
            byteCount /= 2;
    }
    return callNext(real, "write", descriptor, bytes, byteCount);
}

int faultyFsync(int descriptor)
{
    static int (*real)(int) = nullptr;
    return active != nullptr && failsToAsk() ? -1 : callNext(real, "fsync", descriptor);
}

int faultyRename(char const* from, char const* to)
{
    static int (*real)(char const*, char const*) = nullptr;
    return active != nullptr && failsToAsk() ? -1 : callNext(real, "rename", from, to);
}

ssize_t faultySendmsg(int descriptor, msghdr const* message, int flags)
{
    static ssize_t (*real)(int, msghdr const*, int) = nullptr;
    if (active == nullptr || active->connection() != descriptor)
        return callNext(real, "sendmsg", descriptor, message, flags);
    if (fails(FaultKind::SendReset)) {
        errno = ECONNRESET;
        return -1;
    }
    if (fails(FaultKind::SendInterrupt)) {
        errno = EINTR;
        return -1;
    }
    if (message->msg_iovlen > 0 && fails(FaultKind::SendShort)) {
        iovec piece = message->msg_iov[0];
        piece.iov_len = (piece.iov_len + 1) / 2;
        msghdr shortened = *message;
        shortened.msg_iov = &piece;
        shortened.msg_iovlen = 1;
        return callNext(real, "sendmsg", descriptor, static_cast<msghdr const*>(&shortened), flags);
    }
    return callNext(real, "sendmsg", descriptor, message, flags);
}
}

namespace {

void* takeBlock(std::size_t size, std::size_t alignment) noexcept
{
    if (fails(FaultKind::Allocation))
        return nullptr;
    void* block = nullptr;
    if (alignment <= alignof(std::max_align_t))
        block = VNX_REAL_MALLOC(size == 0 ? 1 : size);
    else if (::posix_memalign(&block, alignment, size) != 0)
        block = nullptr;
    varnox::tests::liveBlocks += block != nullptr ? 1 : 0;
    return block;
}

void* takeBlockOrThrow(std::size_t size, std::size_t alignment)
{
    void* const block = takeBlock(size, alignment);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void giveBack(void* block) noexcept
{
    if (block == nullptr)
        return;
    --varnox::tests::liveBlocks;
    std::free(block);
}

constexpr std::size_t USUAL = alignof(std::max_align_t);

}

// clang-format off
void* operator new(std::size_t size) { return takeBlockOrThrow(size, USUAL); }
void* operator new[](std::size_t size) { return takeBlockOrThrow(size, USUAL); }
void* operator new(std::size_t size, std::align_val_t to) { return takeBlockOrThrow(size, static_cast<std::size_t>(to)); }
void* operator new[](std::size_t size, std::align_val_t to) { return takeBlockOrThrow(size, static_cast<std::size_t>(to)); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return takeBlock(size, USUAL); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return takeBlock(size, USUAL); }
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { giveBack(block); }
void operator delete(void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { giveBack(block); }
void operator delete[](void* block, std::nothrow_t const&) noexcept { giveBack(block); }
// clang-format on
