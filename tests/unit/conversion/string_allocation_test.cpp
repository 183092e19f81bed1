// The messages that only a failed allocation produces. Each case runs in a
// child process whose address space is capped just above what it already
// uses, so that the one large block the conversion asks for is refused.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "datatypes/DataTypes.h"

#if defined(__SANITIZE_ADDRESS__)
#define ORL_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORL_ADDRESS_SANITIZER 1
#endif
#endif

namespace DataTypes {
namespace {

constexpr std::size_t kLarge = 96u << 20;  // the block the conversion asks for

// Caps the address space at the current size plus `headroom` bytes.
bool capAddressSpace(std::size_t headroom) {
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr) return false;
    unsigned long pages = 0;
    const bool read = std::fscanf(f, "%lu", &pages) == 1;
    std::fclose(f);
    if (!read) return false;
    const rlim_t limit = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + headroom;
    const rlimit r = {limit, limit};
    return setrlimit(RLIMIT_AS, &r) == 0;
}

struct Case {
    unsigned int word;
    bool intoValue;      // convertFromString rather than convertFromStringAndPack
    std::size_t length;  // of the text, mostly hex digits or a long date part
    const char* message;
};

// Exits 0 when the conversion fails with `message`, 1 otherwise.
[[noreturn]] void runCapped(const Case& c) {
    std::string text(c.length, c.word == TIMESTAMP || c.word == BIGDATETIME ? '1' : 'A');
    if (c.word == TIMESTAMP || c.word == BIGDATETIME) text += ".5";
    if (!capAddressSpace(kLarge / 2)) _exit(2);
    const char* error = nullptr;
    bool failed;
    if (c.intoValue) {
        DataValue v;
        failed = !convertFromString(c.word, text.c_str(), v, error, "%s", nullptr, nullptr, nullptr);
    } else {
        unsigned char out[8];
        failed = static_cast<int>(convertFromStringAndPack(c.word, false, text.c_str(), out, sizeof out, error, "%s",
                                                           nullptr, nullptr, nullptr)) < 0;
    }
    _exit(failed && error != nullptr && std::strcmp(error, c.message) == 0 ? 0 : 1);
}

TEST(StringAllocationDeathTest, MessagesOfAFailedAllocation) {
#ifdef ORL_ADDRESS_SANITIZER
    GTEST_SKIP() << "the sanitizer's allocator aborts instead of returning null";
#endif
    const Case cases[] = {
        {STRING, true, kLarge, "DataType::convertFromString() could not allocate memory for string copy."},
        {BINARY, true, 2 * kLarge, "DataType::convertFromString() could not allocate memory for binary value."},
        {TIMESTAMP, false, kLarge, "could not split timestamp into datetime and millisecond portions."},
        {BIGDATETIME, false, kLarge, "could not split bigdatetime into datetime and microsecond portions."},
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const Case& c : cases) {
        EXPECT_EXIT(runCapped(c), testing::ExitedWithCode(0), "") << c.message;
    }
}

} // namespace
} // namespace DataTypes
