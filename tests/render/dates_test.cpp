// SPDX-License-Identifier: Apache-2.0
//
// Date text: the line of the C library's ctime in local time, its refusals, several time zones.
// Every row is run on the library and on the plain renderer. Single-threaded: ctime is safe here.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>

#include "support/render_suite.h"
#include "support/trees.h"

namespace {

using namespace support;
using namespace trees;

// Sets TZ for one scope.
class TimeZone {
 public:
  explicit TimeZone(const char* zone, bool tell = true) {
    const char* old = std::getenv("TZ");
    had = old != nullptr;
    if (had) before = old;
    setenv("TZ", zone, 1);
    if (tell) tzset();
  }
  ~TimeZone() {
    if (had)
      setenv("TZ", before.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  bool had;
  std::string before;
};

RENDERER_SUITE(RenderDates);

// The value between the quotes of the member "value".
template <class Renderer>
std::string dateText(double milliseconds) {
  Renderer r;
  r.jsonOnly = true;
  AMFDate node(k0);
  node.value = milliseconds;
  r.appendNode(&node, k0);
  const std::string front = R"({"type" : "date","value" : ")";
  const std::string back = "\"}";
  if (r.jsonText.size() < front.size() + back.size()) return r.jsonText;
  EXPECT_EQ(r.jsonText.substr(0, front.size()), front);
  EXPECT_EQ(r.jsonText.substr(r.jsonText.size() - back.size()), back);
  return r.jsonText.substr(front.size(), r.jsonText.size() - front.size() - back.size());
}

constexpr char kEpoch[] = "Thu Jan  1 00:00:00 1970";

struct DateCase {
  const char* name;
  double milliseconds;
  const char* text;
};

const double kNan = std::numeric_limits<double>::quiet_NaN();

const DateCase kDates[] = {
    {"epoch", 0, kEpoch},
    {"minus zero", -0.0, kEpoch},
    {"one second", 1000, "Thu Jan  1 00:00:01 1970"},
    {"999 ms are dropped", 999, kEpoch},
    {"999.999 ms", 999.999, kEpoch},
    {"1999 ms", 1999, "Thu Jan  1 00:00:01 1970"},
    {"-1 ms goes toward zero", -1, kEpoch},
    {"-999 ms goes toward zero", -999, kEpoch},
    {"-1000 ms", -1000, "Wed Dec 31 23:59:59 1969"},
    {"-1001 ms", -1001, "Wed Dec 31 23:59:59 1969"},
    {"-1999 ms", -1999, "Wed Dec 31 23:59:59 1969"},
    {"-2000 ms", -2000, "Wed Dec 31 23:59:58 1969"},
    {"day below ten has two blanks", 1709614245000.0, "Tue Mar  5 04:50:45 2024"},
    {"leap day", 951782400000.0, "Tue Feb 29 00:00:00 2000"},
    {"last second of a year", 946684799000.0, "Fri Dec 31 23:59:59 1999"},
    {"31 bits", 2147483647000.0, "Tue Jan 19 03:14:07 2038"},
    {"31 bits and one", 2147483648000.0, "Tue Jan 19 03:14:08 2038"},
    {"32 bits", 4294967296000.0, "Sun Feb  7 06:28:16 2106"},
    {"-2^31", -2147483648000.0, "Fri Dec 13 20:45:52 1901"},
    {"year 9999, last second", 253402300799000.0, "Fri Dec 31 23:59:59 9999"},
    {"year 10000", 253402300800000.0, "Sat Jan  1 00:00:00 10000"},
    {"year 275760, the last of a script date", 8640000000000000.0, "Sat Sep 13 00:00:00 275760"},
    {"year -271821, the first of one", -8640000000000000.0, "Tue Apr 20 00:00:00 -271821"},
    {"year 1", -62135596800000.0, "Mon Jan  1 00:00:00 1"},
    {"year 0", -62167219200000.0, "Sat Jan  1 00:00:00 0"},
    {"year -1", -62167219201000.0, "Fri Dec 31 23:59:59 -1"},
    {"year 999", -30610224001000.0, "Tue Dec 31 23:59:59 999"},
    // The year is a 32-bit number; after it the C library refuses.
    {"far beyond", 67768036191676799000.0, kEpoch},
    {"beyond what the year holds", 68e18, kEpoch},
    {"beyond, negative", -68e18, kEpoch},
    {"2^63 seconds", 9223372036854775808000.0, kEpoch},
    {"-2^63 seconds", -9223372036854775808000.0, kEpoch},
    {"below -2^63 seconds", -9223372036854779904000.0, kEpoch},
    {"2^64 seconds", 18446744073709551616000.0, kEpoch},
    {"largest", DBL_MAX, kEpoch},
    {"-largest", -DBL_MAX, kEpoch},
    {"infinity", HUGE_VAL, kEpoch},
    {"-infinity", -HUGE_VAL, kEpoch},
    {"not a number", kNan, kEpoch},
    {"smallest denormal", 4.9406564584124654e-324, kEpoch},
};

TYPED_TEST(RenderDates, Utc) {
  const TimeZone zone("UTC");
  for (const DateCase& row : kDates) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(dateText<TypeParam>(row.milliseconds), row.text);
  }
}

struct ZoneCase {
  const char* zone;
  double milliseconds;
  const char* text;
};

// POSIX rules, so that no zone file is needed.
const ZoneCase kZones[] = {
    {"UTC0", 0, kEpoch},
    {"XST-3", 0, "Thu Jan  1 03:00:00 1970"},
    {"EST5EDT,M3.2.0,M11.1.0", 0, "Wed Dec 31 19:00:00 1969"},
    {"EST5EDT,M3.2.0,M11.1.0", 1720000000000.0, "Wed Jul  3 05:46:40 2024"},
    {"EST5EDT,M3.2.0,M11.1.0", 1710053999000.0, "Sun Mar 10 01:59:59 2024"},
    {"EST5EDT,M3.2.0,M11.1.0", 1710054000000.0, "Sun Mar 10 03:00:00 2024"},
    {"CET-1CEST,M3.5.0,M10.5.0/3", 1720000000000.0, "Wed Jul  3 11:46:40 2024"},
    {"CET-1CEST,M3.5.0,M10.5.0/3", 1704067200000.0, "Mon Jan  1 01:00:00 2024"},
    {"NPT-5:45", 1720000000000.0, "Wed Jul  3 15:31:40 2024"},
    {"NST3:30", 1720000000000.0, "Wed Jul  3 06:16:40 2024"},
    {"XST-14", 253402300799000.0, "Sat Jan  1 13:59:59 10000"},
    {"XST12", 253402300800000.0, "Fri Dec 31 12:00:00 9999"},
    // Refused numbers give the epoch of the same zone.
    {"XST-3", std::numeric_limits<double>::infinity(), "Thu Jan  1 03:00:00 1970"},
    {"EST5EDT,M3.2.0,M11.1.0", -1e30, "Wed Dec 31 19:00:00 1969"},
};

TYPED_TEST(RenderDates, Zones) {
  for (const ZoneCase& row : kZones) {
    SCOPED_TRACE(std::string(row.zone) + " " + row.text);
    const TimeZone zone(row.zone);
    EXPECT_EQ(dateText<TypeParam>(row.milliseconds), row.text);
  }
}

// ctime looks at TZ at every call; nobody has to tell it with tzset.
TYPED_TEST(RenderDates, ZoneSetByTheEnvironmentAlone) {
  const TimeZone utc("UTC0");
  EXPECT_EQ(dateText<TypeParam>(0), kEpoch);
  const TimeZone zone("XST-3", false);
  EXPECT_EQ(dateText<TypeParam>(0), "Thu Jan  1 03:00:00 1970");
  setenv("TZ", "YST4", 1);
  EXPECT_EQ(dateText<TypeParam>(0), "Wed Dec 31 20:00:00 1969");
}

TYPED_TEST(RenderDates, ZoneFiles) {
  const TimeZone zone("Europe/Berlin");
  const std::time_t now = 1720000000;
  std::string expected = std::ctime(&now);
  expected.pop_back();
  EXPECT_EQ(dateText<TypeParam>(1720000000000.0), expected);
}

TYPED_TEST(RenderDates, AgreesWithCtime) {
  std::mt19937_64 random(977);
  for (const char* name : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "NPT-5:45"}) {
    const TimeZone zone(name);
    for (int i = 0; i < 4000; ++i) {
      const std::int64_t bits = static_cast<std::int64_t>(random());
      const std::int64_t seconds = bits >> (7 + random() % 48);
      const double milliseconds = static_cast<double>(seconds) * 1000.0;
      const std::time_t given = static_cast<std::time_t>(milliseconds / 1000.0);
      const std::time_t zero = 0;
      const char* line = std::ctime(&given);
      if (!line) line = std::ctime(&zero);
      std::string expected = line;
      expected.pop_back();
      ASSERT_EQ(dateText<TypeParam>(milliseconds), expected) << name << " " << seconds;
    }
  }
}

// The last second that ctime prints and the first that it refuses, on both sides. Doubles are too
// coarse out there to meet the very second, so the nearest ones on each side are taken.
TYPED_TEST(RenderDates, EdgeOfTheYears) {
  const TimeZone zone("UTC0");
  const double last = 67767976233532799.0 * 1000.0;    // near the end of year 2147481747 + 1900
  const double first = -67768040609740800.0 * 1000.0;  // start of year -2147481748
  for (const double middle : {last, first, 67768036191676799.0 * 1000.0}) {
    double value = middle;
    for (int i = 0; i < 40; ++i) value = std::nextafter(value, 0.0);
    for (int i = 0; i < 80; ++i) {
      const std::time_t given = static_cast<std::time_t>(value / 1000.0);
      const char* line = std::ctime(&given);
      const std::string expected = line ? std::string(line, std::string(line).size() - 1) : kEpoch;
      ASSERT_EQ(dateText<TypeParam>(value), expected) << static_cast<long long>(given);
      value = std::nextafter(value, middle < 0 ? -HUGE_VAL : HUGE_VAL);
    }
  }
}

}  // namespace
