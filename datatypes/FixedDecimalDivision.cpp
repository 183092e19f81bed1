// Long division on 16-bit limbs (Knuth, Algorithm D) and its signed 128-bit
// front. Limbs of 16 bits keep every partial product inside 32 bits; the few
// sums that can reach 2^32 (an estimate of 65536 times a full limb) are kept
// in 64-bit variables.
#include <cstdlib>
#include <cstring>

#include "datatypes/FixedDecimalValue.h"
#include "datatypes/internal/DecimalWords.h"

namespace DataTypes {

namespace {

constexpr uint32_t kLimbBase = 65536;
constexpr unsigned kLimbsPer128 = 8;
constexpr unsigned kStackLimbs = 64;

// Working storage for one division: on the stack for the sizes decimals use,
// on the heap beyond that.
class LimbBuffer {
public:
    explicit LimbBuffer(unsigned count)
        : data_(count <= kStackLimbs ? local_
                                     : static_cast<unsigned short*>(std::calloc(count, sizeof(unsigned short)))) {
        if (data_ == local_) std::memset(local_, 0, sizeof local_);
    }
    ~LimbBuffer() {
        if (data_ != local_) std::free(data_);
    }
    LimbBuffer(const LimbBuffer&) = delete;
    LimbBuffer& operator=(const LimbBuffer&) = delete;
    unsigned short* get() { return data_; }

private:
    unsigned short local_[kStackLimbs];
    unsigned short* data_;
};

unsigned trimmedCount(const unsigned short* limbs, unsigned count) {
    while (count > 0 && limbs[count - 1] == 0) --count;
    return count;
}

// The main path of Algorithm D: b has at least two limbs, its top limb is not
// zero, and a is not plainly smaller.
bool divideLong(const unsigned short* a, unsigned aCount, const unsigned short* b, unsigned bCount,
                unsigned short* quotient, unsigned& quotientCount, unsigned short* remainder,
                unsigned& remainderCount) {
    // Normalising can add a limb to a, and the first window reads one more.
    LimbBuffer uBuffer(aCount + 2);
    LimbBuffer vBuffer(bCount + 1);
    unsigned short* u = uBuffer.get();
    unsigned short* v = vBuffer.get();
    if (u == nullptr || v == nullptr) return false;

    const unsigned short d = static_cast<unsigned short>(kLimbBase / (b[bCount - 1] + 1u));
    unsigned uCount, n;
    mul1(a, aCount, d, u, uCount);
    mul1(b, bCount, d, v, n);  // the top limb times d stays below 65536: no new limb

    quotientCount = uCount - n + 1;
    const uint64_t vTop = v[n - 1], vNext = v[n - 2];
    for (unsigned j = quotientCount; j-- > 0;) {
        const uint64_t top2 = static_cast<uint64_t>(u[j + n]) * kLimbBase + u[j + n - 1];
        uint64_t estimate = u[j + n] == vTop ? kLimbBase : top2 / vTop;
        while (estimate * vNext > (top2 - estimate * vTop) * kLimbBase + u[j + n - 2]) --estimate;

        // Multiply and subtract over the window u[j .. j + n].
        uint64_t carry = 0;
        int64_t borrow = 0;
        for (unsigned i = 0; i < n; ++i) {
            const uint64_t product = estimate * v[i] + carry;
            carry = product >> 16;
            const int64_t diff = static_cast<int64_t>(u[i + j]) - static_cast<int64_t>(product & 0xFFFF) - borrow;
            u[i + j] = static_cast<unsigned short>(diff & 0xFFFF);
            borrow = diff < 0 ? 1 : 0;
        }
        const int64_t topDiff = static_cast<int64_t>(u[j + n]) - static_cast<int64_t>(carry) - borrow;
        u[j + n] = static_cast<unsigned short>(topDiff & 0xFFFF);

        if (topDiff < 0) {
            // The estimate was one too high (always so for 65536): add b back.
            quotient[j] = static_cast<unsigned short>(estimate - 1);
            uint32_t sumCarry = 0;
            for (unsigned i = 0; i < n; ++i) {
                const uint32_t sum = static_cast<uint32_t>(u[i + j]) + v[i] + sumCarry;
                u[i + j] = static_cast<unsigned short>(sum);
                sumCarry = sum >> 16;
            }
            u[j + n] = static_cast<unsigned short>(u[j + n] + sumCarry);
        } else {
            quotient[j] = static_cast<unsigned short>(estimate);
        }
    }

    quotientCount = trimmedCount(quotient, quotientCount);
    remainderCount = trimmedCount(u, uCount + 1);
    unsigned short ignored;
    divmod1(u, remainderCount, d, remainder, 0, ignored);
    return true;
}

void splitLimbs(unsigned long long high, unsigned long long low, unsigned short limbs[kLimbsPer128]) {
    for (unsigned i = 0; i < 4; ++i) {
        limbs[i] = static_cast<unsigned short>(low >> (16 * i));
        limbs[i + 4] = static_cast<unsigned short>(high >> (16 * i));
    }
}

void joinLimbs(const unsigned short limbs[kLimbsPer128], unsigned long long& high, unsigned long long& low) {
    high = low = 0;
    for (unsigned i = 0; i < 4; ++i) {
        low |= static_cast<unsigned long long>(limbs[i]) << (16 * i);
        high |= static_cast<unsigned long long>(limbs[i + 4]) << (16 * i);
    }
}

} // namespace

void divmod1(const unsigned short* a, unsigned int count, unsigned short divisor, unsigned short* quotient,
             unsigned int, unsigned short& remainder) {
    remainder = 0;
    if (divisor == 0) return;  // would trap; there is no quotient to give
    uint32_t rest = 0;
    for (unsigned i = count; i-- > 0;) {
        const uint32_t current = rest << 16 | a[i];
        quotient[i] = static_cast<unsigned short>(current / divisor);
        rest = current % divisor;
    }
    remainder = static_cast<unsigned short>(rest);
}

void mul1(const unsigned short* a, unsigned int count, unsigned short factor, unsigned short* out,
          unsigned int& outCount) {
    uint32_t carry = 0;
    for (unsigned i = 0; i < count; ++i) {
        const uint32_t product = static_cast<uint32_t>(a[i]) * factor + carry;
        out[i] = static_cast<unsigned short>(product);
        carry = product >> 16;
    }
    outCount = count;
    if (carry != 0) out[outCount++] = static_cast<unsigned short>(carry);
}

bool longdivmod(const unsigned short* a, unsigned int aCount, const unsigned short* b, unsigned int bCount,
                unsigned short* quotient, unsigned int& quotientCount, unsigned short* remainder,
                unsigned int& remainderCount) {
    // A zero top limb in b would make the normalising factor 65536, which a
    // limb can't hold; such limbs add nothing, so they are dropped.
    bCount = trimmedCount(b, bCount);
    if (bCount == 0) return false;

    if (aCount < bCount || (aCount == bCount && a[aCount - 1] < b[bCount - 1])) {
        quotientCount = 0;
        if (aCount > 0) std::memmove(remainder, a, aCount * sizeof(unsigned short));
        remainderCount = aCount;
        return true;
    }

    if (bCount == 1) {
        unsigned short rest;
        divmod1(a, aCount, b[0], quotient, 0, rest);
        remainder[0] = rest;
        remainderCount = rest != 0 ? 1 : 0;
        return true;
    }
    return divideLong(a, aCount, b, bCount, quotient, quotientCount, remainder, remainderCount);
}

bool longdivmod128(unsigned long long aLow, unsigned long long aHigh, unsigned long long bLow,
                   unsigned long long bHigh, unsigned long long& quotientLow, unsigned long long& quotientHigh,
                   unsigned long long& remainderLow, unsigned long long& remainderHigh) {
    const bool aNegative = internal::isNegativeWords(aHigh);
    const bool bNegative = internal::isNegativeWords(bHigh);
    if (aNegative) internal::negateWords(aHigh, aLow);
    if (bNegative) internal::negateWords(bHigh, bLow);

    unsigned short aLimbs[kLimbsPer128], bLimbs[kLimbsPer128];
    splitLimbs(aHigh, aLow, aLimbs);
    splitLimbs(bHigh, bLow, bLimbs);
    // Zero-filled: the single-limb path leaves quotientCount alone, and the
    // joins below read all eight limbs whatever the counts say.
    unsigned short q[kLimbsPer128] = {}, r[kLimbsPer128] = {};
    unsigned quotientCount = 0, remainderCount = 0;
    const bool ok = longdivmod(aLimbs, trimmedCount(aLimbs, kLimbsPer128), bLimbs,
                               trimmedCount(bLimbs, kLimbsPer128), q, quotientCount, r, remainderCount);
    joinLimbs(q, quotientHigh, quotientLow);
    joinLimbs(r, remainderHigh, remainderLow);

    // The remainder takes the divisor's sign, and differing signs give
    // -(quotient + 1) whether or not the division was exact. Callers depend
    // on this arithmetic as it is, so it is neither truncation nor a floor.
    if (bNegative) internal::negateWords(remainderHigh, remainderLow);
    if (aNegative != bNegative) {
        quotientHigh = ~quotientHigh;  // -(x + 1) == ~x
        quotientLow = ~quotientLow;
    }
    return ok;
}

} // namespace DataTypes
