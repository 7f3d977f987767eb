// Identifiers, numbers as text, and the error log.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <thread>

#include "model/error_log.h"
#include "model/identifier.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

TEST(TextsTest, IdentifierRuleAndRepairs) {
  const struct {
    const char* text;
    bool valid, plain;
    const char *fixed, *made, *outcome;
  } cases[] = {
      {"A_1", true, true, "A_1", "A_1", "A_1"},
      {"_A", false, false, "xA", "x_A", "o__7___A"},
      {"1A", false, false, "xA", "x1A", "o__7__1A"},
      {"Ab c", false, false, "Ab_c", "Ab_c", "o__7__Ab_c"},
      {"@ b", true, false, "x_b", "x__b", "o__7____b"},
      {"z\xe9", false, false, "z_", "z_", "o__7__z_"},
      {"", false, false, "", "", "o__7__"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(IsValidIdentifier(c.text), c.valid);
    EXPECT_EQ(IsPlainIdentifier(c.text), c.plain);
    std::string fixed = c.text;
    std::string made = c.text;
    std::string outcome = c.text;
    EXPECT_EQ(FixIdentifier(fixed), fixed.empty() ? -2 : 0);
    EXPECT_EQ(MakeValidIdentifier(made), made.empty() ? -2 : 0);
    EXPECT_EQ(FixOutcomeId(outcome, 7), !c.plain);
    EXPECT_EQ(fixed, c.fixed);
    EXPECT_EQ(made, c.made);
    EXPECT_EQ(outcome, c.outcome);
  }
}

// The C library says what is right in its own locale; the engine has to agree in any.
TEST(TextsTest, NumbersAreThoseOfTheCLibraryWhateverTheLocale) {
  struct Written {
    double x;
    int digits;
    std::string general, fixed;
  };
  std::vector<Written> written;
  std::mt19937_64 random(3);
  for (int i = 0; i < 3000; ++i) {
    const double small = std::ldexp(static_cast<double>(random()), -70);
    Written w{i % 2 == 0 ? std::bit_cast<double>(random()) : small, i % 18, "", ""};
    char text[400];
    std::snprintf(text, sizeof text, "%.*g", w.digits, w.x);
    w.general = text;
    std::snprintf(text, sizeof text, "%.8f", w.x);
    w.fixed = text;
    written.push_back(w);
  }
  struct Read {
    std::string text;
    double x;
    std::ptrdiff_t length;
  };
  std::vector<Read> read;
  for (const char* const text : {"1e999", "-1e-999", "4.9e-324", " \t\v12", "0x1.8p3 ", "+.5", "-inf",
                                 "nan(1)", "1,5", "1e", "0x", "-0x2", "infinit", "--1", "1.2.3", "1_000"}) {
    read.push_back({text, 0.0, 0});
  }
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 12, ' ');
    std::generate(text.begin(), text.end(), [&] { return "0123456789.eE+-xXpinfa ,"[random() % 24]; });
    read.push_back({text, 0.0, 0});
  }
  for (Read& r : read) {
    char* end = nullptr;
    r.x = std::strtod(r.text.c_str(), &end);
    r.length = end - r.text.c_str();
  }
  for (const char* const locale : {"C", "de_DE.UTF-8"}) {
    if (std::setlocale(LC_ALL, locale) == nullptr) {
      GTEST_SKIP() << "no locale " << locale;
    }
    for (const Written& w : written) {
      EXPECT_EQ(FormatGeneral(w.x, w.digits), w.general);
      EXPECT_EQ(DoubleToText(w.x), w.fixed);
    }
    for (const Read& r : read) {
      const char* end = nullptr;
      const double x = ParseDouble(r.text.c_str(), &end);
      EXPECT_EQ(end - r.text.c_str(), r.length) << r.text;
      EXPECT_TRUE(SameBits(x, r.x) || (std::isnan(x) && std::isnan(r.x))) << r.text;
    }
    std::setlocale(LC_ALL, "C");
  }
}

TEST(TextsTest, SpecialNumbers) {
  const struct {
    const char* text;
    int status;
    double value;
  } cases[] = {{"0.0E-2", 0, kUndefined},
               {"UNDEF.", 0, kUndefined},
               {"0.0E-3", 0, kIllegal},
               {"ILLEGAL", 0, kIllegal},
               {"0.0E-4", 0, kNotAvailable},
               {"NA", 0, kNotAvailable},
               {"0.0e-2", 0, 0.0},
               {"0.0E-20", 0, 0.0},
               {"NAx", -2, 5.0},
               {" 2.5x", 0, 2.5},
               {"", -2, 5.0},
               {nullptr, -2, 5.0}};
  for (const auto& c : cases) {
    double value = 5.0;
    EXPECT_EQ(TextToDouble(c.text, value), c.status);
    EXPECT_TRUE(SameBits(value, c.value)) << (c.text != nullptr ? c.text : "null");
  }
  EXPECT_EQ(DoubleToText(kUndefined) + DoubleToText(kIllegal) + DoubleToText(kNotAvailable),
            "0.0E-20.0E-30.0E-4");
}

TEST(TextsTest, ClampedIntegers) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const std::pair<const char*, int> cases[] = {{nullptr, 0},
                                               {"", 0},
                                               {" +12x", 12},
                                               {"-7", -7},
                                               {"- 7", 0},
                                               {"2147483648", kMost},
                                               {"99999999999999999999999", kMost},
                                               {"-99999999999999999999999", -kMost - 1},
                                               {"x1", 0}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(ParseIntClamped(text), expected);
  }
}

TEST(ErrorLogTest, MessagesAndCodes) {
  const std::string longText(100000, 'y');
  const struct {
    int code;
    const char *text, *prefix;
    std::string message;
  } cases[] = {{-2, nullptr, nullptr, "OUT OF RANGE"},
               {-11, nullptr, nullptr, "UNKNOWN ERROR CODE"},
               {-4, nullptr, nullptr, "NO ERROR"},
               {-43, nullptr, "node ", "node UNKNOWN ERROR CODE"},
               {-126, nullptr, nullptr, "LEXICAL ERROR. CHARACTER UNKNOWN"},
               {-1, longText.c_str(), longText.c_str(), longText + longText}};
  QVR_errorLog log;
  EXPECT_EQ(log.Log(0, "x"), 0);
  std::vector<const char*> places;
  for (const auto& c : cases) {
    EXPECT_EQ(log.Log(c.code, c.text, c.prefix), c.code);
    places.push_back(log.GetMessage(log.GetCount() - 1));
  }
  for (int i = 0; i < 1000; ++i) {
    log.Log(-2, "more");
  }
  ASSERT_EQ(log.GetCount(), 1006);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(log.GetCode(i), cases[i].code);
    EXPECT_EQ(log.GetMessage(i), cases[i].message);
    EXPECT_EQ(log.GetMessage(i), places[static_cast<std::size_t>(i)]);  // the texts haven't moved
  }
  for (const int bad : {-1, 1006}) {
    EXPECT_EQ(log.GetMessage(bad), nullptr);
    EXPECT_EQ(log.GetCode(bad), 0);
  }
}

struct LoggingHandler : IErrorRedirect {
  LoggingHandler(QVR_errorLog& newLog, int& newAlive) : log(newLog), alive(newAlive) { ++alive; }
  ~LoggingHandler() override { --alive; }
  void LogMessage(int code, const char* text) override {
    received += text;
    log.Log(code, text, "again ");
  }

  QVR_errorLog& log;
  int& alive;
  std::string received;
};

TEST(ErrorLogTest, HandlersMayLogAndAreOwnedOnRequest) {
  int alive = 0;
  {
    QVR_errorLog log;
    LoggingHandler kept(log, alive);
    log.SetHandler(&kept, 0);
    log.Log(-2, "one");
    EXPECT_EQ(kept.received, "one");
    EXPECT_EQ(log.GetCount(), 1);
    EXPECT_STREQ(log.GetMessage(0), "again one");
    log.SetHandler(std::make_unique<LoggingHandler>(log, alive).release(), 1);
    LoggingHandler* const owned = std::make_unique<LoggingHandler>(log, alive).release();
    log.SetHandler(owned, 1);
    log.SetHandler(owned, 1);
    EXPECT_EQ(alive, 2);  // the former one is gone, the present one stays
    log.SetHandler(nullptr, 0);
    EXPECT_EQ(alive, 1);
    log.Log(-2, "two");
    EXPECT_STREQ(log.GetMessage(1), "two");
    log.SetHandler(std::make_unique<LoggingHandler>(log, alive).release(), 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ErrorLogTest, TwoThreadsKeepPairsTogether) {
  QVR_errorLog log;
  const auto work = [&log](int code) {
    for (int i = 0; i < 20000; ++i) {
      log.Log(code, std::to_string(code));
    }
  };
  std::thread other(work, -3);
  work(-2);
  other.join();
  ASSERT_EQ(log.GetCount(), 40000);
  int sum = 0;
  for (int i = 0; i < 40000; ++i) {
    ASSERT_EQ(std::to_string(log.GetCode(i)), log.GetMessage(i));
    sum += log.GetCode(i);
  }
  EXPECT_EQ(sum, -100000);
}

}  // namespace
}  // namespace qvr
