#pragma once

// Whether the test runs under Wine, which differs from Windows in places.
constexpr bool runsUnderWine() {
    return false;
}
