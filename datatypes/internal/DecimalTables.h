// Tables of the fixed decimals that are not exported.
#pragma once

namespace DataTypes {
namespace internal {

constexpr int kDoublePowerLimit = 38;
// kDoublePowersOfTen[i + kDoublePowerLimit] is the double nearest 10^i.
extern const double kDoublePowersOfTen[2 * kDoublePowerLimit + 1];

} // namespace internal
} // namespace DataTypes
