#pragma once

// Whether the test runs under Wine, which is not in everything what it stands in for.
constexpr bool runsUnderWine() {
    return false;
}
