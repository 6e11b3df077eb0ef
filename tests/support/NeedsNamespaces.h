#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

// Ends a test that needs a namespace, or what stands only in one, where `isThere` is false: the test is skipped with
// that reason. With CI=true it fails, because a skip would hide that the machine of the integration has lost it.
#define SKIP_OUTSIDE_NAMESPACES(isThere, reason)        \
    do {                                                \
        if (!(isThere)) {                               \
            if (mustHaveNamespaces()) {                 \
                FAIL() << "with CI=true: " << (reason); \
            }                                           \
            GTEST_SKIP() << (reason);                   \
        }                                               \
    } while (false)

inline bool mustHaveNamespaces() {
    const char* integration = std::getenv("CI");
    return integration != nullptr && std::string_view(integration) == "true";
}
