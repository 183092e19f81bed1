// The messages that only a failed allocation produces. Each case runs in a
// child process whose address space is capped just above what it already
// uses, so that the one large block the conversion asks for is refused.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

// Both sanitizers reserve more address space than a cap leaves room for.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORL_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORL_ADDRESS_SANITIZER 1
#endif
#endif

namespace DataTypes {
namespace {

constexpr std::size_t kLarge = 96u << 20;  // the block the conversion asks for

// Caps the address space at the current size plus `headroom` bytes.
bool capAddressSpace(std::size_t headroom) {
    unsigned long pages = 0;
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    const bool read = f != nullptr && std::fscanf(f, "%lu", &pages) == 1;
    if (f != nullptr) std::fclose(f);
    if (!read) return false;
    const rlim_t limit = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + headroom;
    const rlimit r = {limit, limit};
    return setrlimit(RLIMIT_AS, &r) == 0;
}

// Exits 0 when the conversion of a text of `length` characters fails with
// `message`. Strings and binaries go into a value, times are packed.
[[noreturn]] void runCapped(unsigned int word, std::size_t length, const char* message) {
    const bool time = word == TIMESTAMP || word == BIGDATETIME;
    const std::string text = std::string(length, time ? '1' : 'A') + (time ? ".5" : "");
    if (!capAddressSpace(kLarge / 2)) _exit(2);
    const char* error = nullptr;
    DataValue v;
    unsigned char out[8];
    const bool failed = time ? static_cast<int>(convertFromStringAndPack(word, false, text.c_str(), out, sizeof out,
                                                                         error, "%s", nullptr, nullptr, nullptr)) < 0
                             : !convertFromString(word, text.c_str(), v, error, nullptr, nullptr, nullptr, nullptr);
    _exit(failed && error != nullptr && std::strcmp(error, message) == 0 ? 0 : 1);
}

TEST(StringAllocationDeathTest, MessagesOfAFailedAllocation) {
#ifdef ORL_ADDRESS_SANITIZER
    GTEST_SKIP() << "the sanitizer's allocator aborts instead of returning null";
#endif
    const struct {
        unsigned int word;
        std::size_t length;
        const char* message;
    } cases[] = {
        {STRING, kLarge, "DataType::convertFromString() could not allocate memory for string copy."},
        {BINARY, 2 * kLarge, "DataType::convertFromString() could not allocate memory for binary value."},
        {TIMESTAMP, kLarge, "could not split timestamp into datetime and millisecond portions."},
        {BIGDATETIME, kLarge, "could not split bigdatetime into datetime and microsecond portions."},
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto& c : cases) {
        EXPECT_EXIT(runCapped(c.word, c.length, c.message), testing::ExitedWithCode(0), "") << c.message;
    }
}

} // namespace
} // namespace DataTypes
