// What the portable unit tests use of GoogleTest, under the same names, for a processor on which GoogleTest itself
// cannot be built: it wants the standard library's streams, maps and exceptions. Whoever writes such a test may use
// everything that is here; a test that wants more runs on the other platforms alone.
#pragma once

#include <cstring>
#include <functional>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace testing {

class Message {
public:
    template <typename T>
    Message& operator<<(const T& value) {
        m_text << value;
        return *this;
    }
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

class Test {
public:
    virtual ~Test() = default;
    virtual void SetUp() {}
    virtual void TearDown() {}
    virtual void TestBody() = 0;
    // The current test has failed.
    static bool HasFailure();

    // Makes, runs and unmakes one.
    template <typename T>
    static void run() {
        T test;
        Test& base = test;
        base.SetUp();
        base.TestBody();
        base.TearDown();
    }
};

template <typename T>
class TestWithParam : public Test {
public:
    using ParamType = T;
    static const T& GetParam() { return *s_parameter; }

    static inline const T* s_parameter = nullptr;
};

namespace internal {

// Adds a test to those that main runs.
bool add(const char* suite, const char* name, std::function<void()> run);
void addTrace(std::string text);
void removeTrace();
// The exit code of a process that does only this.
int exitCodeOf(const std::function<void()>& action);

// A failure of the current test, with what the test has to say about it.
class Failure {
public:
    Failure(const char* file, int line, std::string text) : m_file(file), m_line(line), m_text(std::move(text)) {}
    void operator=(const Message& message) const;

private:
    const char* m_file;
    int m_line;
    std::string m_text;
};

class Trace {
public:
    template <typename T>
    explicit Trace(const T& text) {
        addTrace((Message() << text).text());
    }
    ~Trace() { removeTrace(); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;
};

template <typename T, typename = void>
struct HasPrintTo : std::false_type {};
template <typename T>
struct HasPrintTo<T, std::void_t<decltype(PrintTo(std::declval<const T&>(), std::declval<std::ostream*>()))>>
    : std::true_type {};

template <typename T, typename = void>
struct CanStream : std::false_type {};
template <typename T>
struct CanStream<T, std::void_t<decltype(std::declval<std::ostream&>() << std::declval<const T&>())>> : std::true_type {
};

template <typename T, typename = void>
struct IsContainer : std::false_type {};
template <typename T>
struct IsContainer<T, std::void_t<decltype(std::begin(std::declval<const T&>()), std::end(std::declval<const T&>()))>>
    : std::true_type {};

}  // namespace internal

template <typename T>
std::string PrintToString(const T& value) {
    std::ostringstream text;
    if constexpr (internal::HasPrintTo<T>::value) {
        PrintTo(value, &text);
    } else if constexpr (std::is_convertible_v<const T&, std::u16string_view> && !std::is_null_pointer_v<T>) {
        for (const char16_t unit : std::u16string_view(value)) {
            text << static_cast<char>(unit < 0x80 ? unit : '?');
        }
    } else if constexpr (std::is_same_v<T, bool>) {
        text << value;
    } else if constexpr (std::is_integral_v<T>) {
        text << static_cast<long long>(value);
    } else if constexpr (std::is_enum_v<T>) {
        text << static_cast<long long>(value);
    } else if constexpr (internal::CanStream<T>::value && !std::is_pointer_v<T>) {
        text << value;
    } else if constexpr (std::is_convertible_v<T, const char*>) {
        text << static_cast<const char*>(value);
    } else if constexpr (internal::IsContainer<T>::value) {
        text << "{";
        for (const auto& element : value) {
            text << " " << PrintToString(element);
        }
        text << " }";
    } else {
        text << "an object of " << sizeof value << " bytes";
    }
    return text.str();
}

namespace internal {

// Whether it holds, and else what was found.
struct Result {
    bool holds;
    std::string text;
    explicit operator bool() const { return holds; }
};

inline bool areNear(std::int64_t left, std::int64_t right, std::int64_t error) {
    return left - right <= error && right - left <= error;
}

template <typename A, typename B, typename Relation>
Result compare(const A& left, const B& right, const char* text, Relation relation) {
    if (relation(left, right)) {
        return {true, {}};
    }
    return {false, std::string(text) + ": " + PrintToString(left) + " and " + PrintToString(right)};
}

inline Result isTrue(bool value, const char* text) {
    return {value, value ? std::string() : std::string(text) + " is false"};
}

inline Result compareTexts(const char* left, const char* right, const char* text) {
    const bool areEqual = left == nullptr || right == nullptr ? left == right : std::strcmp(left, right) == 0;
    return {areEqual, areEqual ? std::string()
                               : std::string(text) + ": " + (left != nullptr ? left : "(null)") + " and " +
                                     (right != nullptr ? right : "(null)")};
}

// The tests of a suite with parameters, and how they are run for each value.
template <typename Fixture>
struct ParameterTests {
    struct Entry {
        const char* name;
        void (*run)();
    };
    static std::vector<Entry>& all() {
        static std::vector<Entry>* const entries = new std::vector<Entry>;
        return *entries;
    }
    static bool add(const char* name, void (*run)()) {
        all().push_back({name, run});
        return true;
    }
    static bool instantiate(const char* suite, std::vector<typename Fixture::ParamType> values) {
        return internal::add(suite, "WithEachParameter", [values = std::move(values)] {
            for (const auto& value : values) {
                Fixture::s_parameter = &value;
                const Trace trace("with " + PrintToString(value));
                for (const Entry& entry : all()) {
                    entry.run();
                }
            }
        });
    }
};

}  // namespace internal

template <typename... T>
auto Values(T... given) {
    return std::vector<std::common_type_t<T...>>{given...};
}

template <typename Container>
auto ValuesIn(const Container& container) {
    return std::vector<std::decay_t<decltype(*std::begin(container))>>(std::begin(container), std::end(container));
}

// For EXPECT_EXIT.
struct ExitedWithCode {
    explicit ExitedWithCode(int wanted) : code(wanted) {}
    int code;
};

}  // namespace testing

#define GTEST_TEST_CLASS_(suite, name) suite##_##name##_Test
#define GTEST_TEST_(suite, name, fixture)                                                                        \
    class GTEST_TEST_CLASS_(suite, name) : public fixture {                                                      \
        void TestBody() override;                                                                                \
    };                                                                                                           \
    [[maybe_unused]] static const bool suite##_##name##_added =                                                  \
        ::testing::internal::add(#suite, #name, [] { ::testing::Test::run<GTEST_TEST_CLASS_(suite, name)>(); }); \
    void GTEST_TEST_CLASS_(suite, name)::TestBody()
#define TEST(suite, name) GTEST_TEST_(suite, name, ::testing::Test)
#define TEST_F(fixture, name) GTEST_TEST_(fixture, name, fixture)
#define TEST_P(fixture, name)                                                                                        \
    class GTEST_TEST_CLASS_(fixture, name) : public fixture {                                                        \
        void TestBody() override;                                                                                    \
    };                                                                                                               \
    [[maybe_unused]] static const bool fixture##_##name##_added = ::testing::internal::ParameterTests<fixture>::add( \
        #name, [] { ::testing::Test::run<GTEST_TEST_CLASS_(fixture, name)>(); });                                    \
    void GTEST_TEST_CLASS_(fixture, name)::TestBody()
#define INSTANTIATE_TEST_SUITE_P(prefix, fixture, ...)              \
    [[maybe_unused]] static const bool prefix##_##fixture##_added = \
        ::testing::internal::ParameterTests<fixture>::instantiate(#prefix "/" #fixture, __VA_ARGS__)

#define GTEST_CHECK_(check, onFailure)                                 \
    switch (0)                                                         \
    case 0:                                                            \
    default:                                                           \
        if (const ::testing::internal::Result gtestResult = (check)) { \
        } else                                                         \
            onFailure ::testing::internal::Failure(__FILE__, __LINE__, gtestResult.text) = ::testing::Message()
#define GTEST_COMPARE_(left, right, relation, onFailure)                                                  \
    GTEST_CHECK_(::testing::internal::compare(left, right, #left " " #relation " " #right,                \
                                              [](const auto& gtestLeft, const auto& gtestRight) -> bool { \
                                                  return gtestLeft relation gtestRight;                   \
                                              }),                                                         \
                 onFailure)

#define EXPECT_TRUE(value) GTEST_CHECK_(::testing::internal::isTrue(static_cast<bool>(value), #value), )
#define EXPECT_FALSE(value) GTEST_CHECK_(::testing::internal::isTrue(!(value), "not " #value), )
#define EXPECT_EQ(left, right) GTEST_COMPARE_(left, right, ==, )
#define EXPECT_NE(left, right) GTEST_COMPARE_(left, right, !=, )
#define EXPECT_LT(left, right) GTEST_COMPARE_(left, right, <, )
#define EXPECT_LE(left, right) GTEST_COMPARE_(left, right, <=, )
#define EXPECT_GT(left, right) GTEST_COMPARE_(left, right, >, )
#define EXPECT_GE(left, right) GTEST_COMPARE_(left, right, >=, )
// Integers alone.
#define EXPECT_NEAR(left, right, error) \
    GTEST_CHECK_(::testing::internal::isTrue(::testing::internal::areNear(left, right, error), #left), )
#define EXPECT_STREQ(left, right) GTEST_CHECK_(::testing::internal::compareTexts(left, right, #left), )
#define ASSERT_TRUE(value) GTEST_CHECK_(::testing::internal::isTrue(static_cast<bool>(value), #value), return)
#define ASSERT_FALSE(value) GTEST_CHECK_(::testing::internal::isTrue(!(value), "not " #value), return)
#define ASSERT_EQ(left, right) GTEST_COMPARE_(left, right, ==, return)
#define ASSERT_NE(left, right) GTEST_COMPARE_(left, right, !=, return)
#define ASSERT_LT(left, right) GTEST_COMPARE_(left, right, <, return)
#define ASSERT_GT(left, right) GTEST_COMPARE_(left, right, >, return)
#define ASSERT_GE(left, right) GTEST_COMPARE_(left, right, >=, return)
#define ADD_FAILURE() ::testing::internal::Failure(__FILE__, __LINE__, "") = ::testing::Message()
// What the process writes is not looked at here.
#define EXPECT_EXIT(action, wanted, text) EXPECT_EQ(::testing::internal::exitCodeOf([&] { action; }), (wanted).code)
#define GTEST_CONCATENATED_(left, right) left##right
#define GTEST_NAME_WITH_LINE_(name, line) GTEST_CONCATENATED_(name, line)
#define SCOPED_TRACE(text) const ::testing::internal::Trace GTEST_NAME_WITH_LINE_(gtestTrace, __LINE__)(text)
