// What the portable unit tests use of GoogleMock's matchers; see gtest/gtest.h.
#pragma once

#include <gtest/gtest.h>

#include <tuple>

namespace testing {

namespace internal {

// What every matcher derives from; each has `template <typename T> bool matches(const T&) const`.
struct Matcher {};

template <typename T>
struct Equal : Matcher {
    explicit Equal(T wanted) : wanted(std::move(wanted)) {}
    template <typename Found>
    bool matches(const Found& found) const {
        return found == wanted;
    }
    T wanted;
};

template <typename T>
auto matcherOf(T wanted) {
    if constexpr (std::is_base_of_v<Matcher, T>) {
        return wanted;
    } else {
        return Equal<T>(std::move(wanted));
    }
}

template <typename... M>
struct ElementsMatcher : Matcher {
    explicit ElementsMatcher(M... matchers) : matchers(std::move(matchers)...) {}
    template <typename Container>
    bool matches(const Container& container) const {
        auto element = std::begin(container);
        const auto end = std::end(container);
        const bool allMatch = std::apply(
            [&](const M&... matcher) { return (... && (element != end && matcher.matches(*element++))); }, matchers);
        return allMatch && element == end;
    }
    std::tuple<M...> matchers;
};

template <typename... M>
struct AllMatcher : Matcher {
    explicit AllMatcher(M... matchers) : matchers(std::move(matchers)...) {}
    template <typename T>
    bool matches(const T& value) const {
        return std::apply([&](const M&... matcher) { return (... && matcher.matches(value)); }, matchers);
    }
    std::tuple<M...> matchers;
};

template <typename M>
struct NotMatcher : Matcher {
    explicit NotMatcher(M matcher) : matcher(std::move(matcher)) {}
    template <typename T>
    bool matches(const T& value) const {
        return !matcher.matches(value);
    }
    M matcher;
};

struct EmptyMatcher : Matcher {
    template <typename T>
    bool matches(const T& value) const {
        return std::begin(value) == std::end(value);
    }
};

struct EndMatcher : Matcher {
    explicit EndMatcher(std::string wanted) : wanted(std::move(wanted)) {}
    bool matches(const std::string& text) const {
        return text.size() >= wanted.size() && text.compare(text.size() - wanted.size(), wanted.size(), wanted) == 0;
    }
    std::string wanted;
};

struct StartMatcher : Matcher {
    explicit StartMatcher(std::string wanted) : wanted(std::move(wanted)) {}
    bool matches(const std::string& text) const { return text.compare(0, wanted.size(), wanted) == 0; }
    std::string wanted;
};

template <typename M>
struct AnElementMatcher : Matcher {
    explicit AnElementMatcher(M matcher) : matcher(std::move(matcher)) {}
    template <typename Container>
    bool matches(const Container& container) const {
        for (const auto& element : container) {
            if (matcher.matches(element)) {
                return true;
            }
        }
        return false;
    }
    M matcher;
};

// Each wanted one is there, and as often as it is wanted.
template <typename T>
struct SupersetMatcher : Matcher {
    explicit SupersetMatcher(std::vector<T> wanted) : wanted(std::move(wanted)) {}
    template <typename Container>
    bool matches(const Container& container) const {
        std::vector<bool> isTaken(container.size(), false);
        for (const T& one : wanted) {
            std::size_t place = 0;
            for (const auto& element : container) {
                if (!isTaken[place] && element == one) {
                    break;
                }
                ++place;
            }
            if (place == isTaken.size()) {
                return false;
            }
            isTaken[place] = true;
        }
        return true;
    }
    std::vector<T> wanted;
};

struct PartMatcher : Matcher {
    explicit PartMatcher(std::string wanted) : wanted(std::move(wanted)) {}
    bool matches(const std::string& text) const { return text.find(wanted) != std::string::npos; }
    std::string wanted;
};

template <typename T, typename M>
Result checkMatch(const T& value, const M& matcher, const char* text) {
    const bool matches = matcherOf(matcher).matches(value);
    return {matches, matches ? std::string() : std::string(text) + " does not match: " + PrintToString(value)};
}

}  // namespace internal

template <typename... T>
auto ElementsAre(T... wanted) {
    return internal::ElementsMatcher<decltype(internal::matcherOf(wanted))...>(
        internal::matcherOf(std::move(wanted))...);
}
template <typename... T>
auto AllOf(T... wanted) {
    return internal::AllMatcher<decltype(internal::matcherOf(wanted))...>(internal::matcherOf(std::move(wanted))...);
}
template <typename T>
auto Not(T unwanted) {
    return internal::NotMatcher<decltype(internal::matcherOf(unwanted))>(internal::matcherOf(std::move(unwanted)));
}
inline auto IsEmpty() {
    return internal::EmptyMatcher();
}
inline auto StartsWith(std::string start) {
    return internal::StartMatcher(std::move(start));
}
template <typename T>
auto Contains(T wanted) {
    return internal::AnElementMatcher<decltype(internal::matcherOf(wanted))>(internal::matcherOf(std::move(wanted)));
}
template <typename T>
auto IsSupersetOf(std::initializer_list<T> wanted) {
    return internal::SupersetMatcher<T>(wanted);
}
template <typename Container>
auto IsSupersetOf(const Container& wanted) {
    return internal::SupersetMatcher<std::decay_t<decltype(*std::begin(wanted))>>(
        {std::begin(wanted), std::end(wanted)});
}
inline auto EndsWith(std::string end) {
    return internal::EndMatcher(std::move(end));
}
inline auto HasSubstr(std::string part) {
    return internal::PartMatcher(std::move(part));
}

}  // namespace testing

#define EXPECT_THAT(value, ...) GTEST_CHECK_(::testing::internal::checkMatch(value, __VA_ARGS__, #value), )
#define ASSERT_THAT(value, ...) GTEST_CHECK_(::testing::internal::checkMatch(value, __VA_ARGS__, #value), return)

#define MATCHER_P4(name, p0, p1, p2, p3, description)                         \
    template <typename P0, typename P1, typename P2, typename P3>             \
    struct name##Matcher : ::testing::internal::Matcher {                     \
        name##Matcher(P0 a, P1 b, P2 c, P3 d) : p0(a), p1(b), p2(c), p3(d) {} \
        template <typename arg_type>                                          \
        bool matches(const arg_type& arg) const;                              \
        P0 p0;                                                                \
        P1 p1;                                                                \
        P2 p2;                                                                \
        P3 p3;                                                                \
    };                                                                        \
    template <typename P0, typename P1, typename P2, typename P3>             \
    auto name(P0 a, P1 b, P2 c, P3 d) {                                       \
        return name##Matcher<P0, P1, P2, P3>(a, b, c, d);                     \
    }                                                                         \
    template <typename P0, typename P1, typename P2, typename P3>             \
    template <typename arg_type>                                              \
    bool name##Matcher<P0, P1, P2, P3>::matches(const arg_type& arg) const
