// SPDX-License-Identifier: Apache-2.0
//
// The script views of hostile packets in pages of Chromium: script elements of HTML, XHTML and SVG,
// event attributes in both quotes, six encodings and none declared. After escapeForViews they
// assign the packet's texts and nothing else runs. Trees that were prepared for the JSON view alone
// show that each of these places is dangerous. One Chromium process loads all pages;
// tests/guard/view_page.js is what they begin with. Exercises guard/escape_text.cpp.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "support/command.h"
#include "support/guard_packets.h"

using support::command;
using support::hex;
using support::u16;

namespace {

// ---- Attacks -----------------------------------------------------------------------------------

struct Attack {
  const char* name;
  const char* text;  // hex
};

const Attack kAttacks[] = {
    {"word", "'word'"},
    {"reference", "'&quot;;pwned()//'"},
    {"decimal", "'&#34;;pwned()//'"},
    {"sixteen", "'&#x22;;pwned()//'"},
    {"nested", "'&amp;quot;;pwned()//'"},
    {"apostrophe", "27 '; pwned(); x=' 27"},
    {"attribute", "27 ' onclick=' 27 'pwned()'"},
    {"element", "'</script><script>pwned()</script>'"},
    {"comment", "'<!--<script>'"},
    {"section", "']]>;pwned()//'"},
    {"arrow", "0A '-->' 0A 'pwned()'"},
    {"backslash", "5C 22 ';pwned()//'"},
    {"separator", "E280A8 'pwned()//'"},
    {"shift", "E38183 22 ';pwned()//'"},  // its last byte and a backslash are one character in
    {"big", "E382A5 22 ';pwned()//'"},    // Shift_JIS, GBK and gb18030; here in Big5 as well
    {"japanese", "(E38182E38184E38186)*20 E38183 22 ';pwned()//'"},  // enough for a guess
    {"escape", "1B2842 5C 22 ';pwned()//' 1B284A 5C 22 ';pwned()//'"},
    {"pair", "F09F9880 22 ';pwned()//'"},
    {"broken", "80 E2 82 22 ';pwned()//'"},
};

// What is shown of trees that were prepared for JSON. XML in the wrong encoding is no XML, and the
// browser shows none of it.
const char* const kKnown[] = {"reference", "shift", "big", "japanese"};
const char* const kKnownInXML[] = {"reference"};

std::string packetWith(const std::string& text) {
  const std::string whole = u16(static_cast<std::uint32_t>(text.size())) + text;
  return hex("0000 0000 0001") + whole + hex("0001 'r' FFFFFFFF 03") + whole + hex("02") + whole +
         hex("0000 09");
}

// The text as a reader of UTF-8 takes it, in UTF-16.
std::string unitsOf(const std::string& text) {
  AMFString node(AMF_VERSION_0);
  node.setValue(text.data(), static_cast<unsigned>(text.size()));
  escapeForViews(&node);
  const std::string escaped(node.data, node.length);
  std::string units;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    unsigned unit = static_cast<unsigned char>(escaped[i]);
    if (escaped[i] == '\\' && escaped[++i] == 'u') {
      unit = static_cast<unsigned>(std::stoul(escaped.substr(i + 1, 4), nullptr, 16));
      i += 4;
    }
    units += std::to_string(unit) + ",";
  }
  return units;
}

// ---- Views -------------------------------------------------------------------------------------

struct Layout {
  const char* name;
  bool isStatements, pretty;
  int times;  // that each text is assigned
};

// JS has all three in a literal and two in statements; names are comments there.
const Layout kLayouts[] = {{"js", false, true, 5},
                           {"js-compact", false, false, 5},
                           {"script", true, true, 2},
                           {"script-compact", true, false, 2}};

std::string viewOf(const std::string& text, const Layout& layout, AMFEscapeFor escapeFor) {
  AMFProtocol protocol;
  protocol.useTemporaries = false;
  const std::string packet = packetWith(text);
  EXPECT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package, escapeFor);
  return layout.isStatements ? protocol.getPackageAsJSView(layout.pretty)
                             : protocol.getPackageInJS(layout.pretty);
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
  return text;
}

// ---- Pages -------------------------------------------------------------------------------------

struct Kind {
  const char* extension;
  const char* opening;  // after it the first script
  const char* loader;   // the attribute that names a script's file
  const char* closing;
  bool isXML;
  std::vector<const char*> places;
};

const Kind kKinds[] = {
    {"html",
     "<!DOCTYPE html><html><head>",
     "src",
     "</html>",
     false,
     {"element", "svg", "single", "double"}},
    {"xhtml",
     "<html xmlns='http://www.w3.org/1999/xhtml'><head><title>-</title></head><body>",
     "src",
     "</body></html>",
     true,
     {"element", "single", "double"}},
    {"svg",
     "<svg xmlns='http://www.w3.org/2000/svg'>",
     "href",
     "</svg>",
     true,
     {"element", "single", "double"}},
};

struct Encoding {
  const char* declared;
  const char* inHTML;  // what Chromium then takes it for
  const char* inXML;
};

const Encoding kEncodings[] = {
    {"utf-8", "UTF-8", "UTF-8"}, {"shift_jis", "Shift_JIS", "Shift_JIS"},
    {"gbk", "GBK", "GBK"},       {"gb18030", "gb18030", "gb18030"},
    {"big5", "Big5", "Big5"},    {"windows-1252", "windows-1252", "windows-1252"},
    {"", "Shift_JIS", "UTF-8"},  // nothing declared: guessed by kJapanese
};

// The text of a Japanese page, in Shift_JIS.
constexpr char kJapanese[] =
    "(82B182EA82CD93FA967B8CEA82CC8379815B835782C582B7814282A896E282A28D8782ED82B982CD82B182BF82E78"
    "2DC82C582A88AE882A282B582DC82B78142)*8";

// A view as the header says that it may stand in a page.
std::string placed(std::string view, const std::string& place, bool isXML) {
  if (place == "element") return "<script>" + view + "</script>\n";
  if (place == "svg") return "<svg><script>" + view + "</script></svg>\n";
  if (isXML) view = replaced(view, "\n", "&#10;");
  if (place == "single") return "<a id='here' onclick='" + view + "'></a>\n";
  return "<a id='here' onclick=\"" + replaced(view, "\"", "&quot;") + "\"></a>\n";
}

std::string script(const std::string& statement) {
  return "<script>" + statement + "</script>\n";
}

bool isKnown(const Attack& attack, bool isXML) {
  const auto* const begin = isXML ? std::begin(kKnownInXML) : std::begin(kKnown);
  const auto* const end = isXML ? std::end(kKnownInXML) : std::end(kKnown);
  return std::any_of(begin, end, [&](const std::string& name) { return name == attack.name; });
}

std::string shown(const Attack& attack, const Kind& kind, AMFEscapeFor escapeFor) {
  std::string page;
  const std::string text = hex(attack.text);
  const std::string units = "[" + unitsOf(text) + "]";
  for (const Layout& layout : kLayouts) {
    const std::string view = viewOf(text, layout, escapeFor);
    for (const std::string place : kind.places) {
      const std::string name = place + "/" + attack.name + "/" + layout.name;
      page += script("begin('" + name + "')") + placed(view, place, kind.isXML);
      page += script("end(" + std::to_string(layout.times) + "," + units + ",'here');" +
                     "var here = document.getElementById('here'); if (here) here.remove()");
    }
  }
  return page;
}

std::string pageOf(const Kind& kind, const std::string& encoding, AMFEscapeFor escapeFor,
                   const std::string& name) {
  std::string page = kind.opening;
  if (!encoding.empty() && kind.isXML)
    page = "<?xml version='1.0' encoding='" + encoding + "'?>" + page;
  if (!encoding.empty() && !kind.isXML) page += "<meta charset='" + encoding + "'>";
  if (encoding.empty() && !kind.isXML) page += "<body><p>" + hex(kJapanese) + "</p>\n";
  page += std::string("<script ") + kind.loader +
          "='file://" AMF2JSON_SOURCES "/tests/guard/view_page.js'></script>\n";
  for (const Attack& attack : kAttacks) {
    if (escapeFor == AMFEscapeFor::script || isKnown(attack, kind.isXML))
      page += shown(attack, kind, escapeFor);
  }
  return page + script("onload = () => report('" + name + "')") + kind.closing;
}

// ---- What Chromium says ------------------------------------------------------------------------

struct Report {
  std::string encoding, ran, wrong;
};

void write(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  ASSERT_TRUE(out.flush());
}

constexpr char kCollector[] = R"(<!DOCTYPE html><meta charset='utf-8'><body><script>
addEventListener('message', (event) => {
  const line = document.createElement('p');
  line.textContent = event.data;
  document.body.append(line);
});
</script>
)";

// "<p>page; encoding; what ran; what went wrong</p>" on each page's account.
std::map<std::string, Report> reportsIn(const std::string& document) {
  std::map<std::string, Report> reports;
  for (std::size_t at = 0; (at = document.find("<p>", at)) != std::string::npos;) {
    const std::size_t end = document.find("</p>", at);
    std::vector<std::string> fields;
    for (at += 3; at < end; at += 2) {
      const std::size_t cut = std::min(end, document.find("; ", at));
      fields.push_back(document.substr(at, cut - at));
      at = cut;
    }
    if (fields.size() == 4) reports[fields[0]] = {fields[1], fields[2], fields[3]};
  }
  return reports;
}

std::string nameOf(const Kind& kind, const std::string& encoding, AMFEscapeFor escapeFor) {
  return std::string(escapeFor == AMFEscapeFor::json ? "json-" : "script-") +
         (encoding.empty() ? "undeclared" : encoding) + "." + kind.extension;
}

class EscapeBrowser : public testing::Test {
 protected:
  // All pages are loaded once, for all tests.
  static void SetUpTestSuite() {
    std::string version;
    hasChromium = command("chromium --version 2>/dev/null", version);
    if (!hasChromium) return;
    std::string folder = testing::TempDir() + "escape_browser_test.XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    std::string collector = kCollector;
    for (const AMFEscapeFor escapeFor : {AMFEscapeFor::script, AMFEscapeFor::json}) {
      for (const Kind& kind : kKinds) {
        for (const Encoding& encoding : kEncodings) {
          const std::string name = nameOf(kind, encoding.declared, escapeFor);
          write(folder + "/" + name, pageOf(kind, encoding.declared, escapeFor, name));
          collector += "<iframe src='" + name + "'></iframe>\n";
        }
      }
    }
    write(folder + "/all.html", collector);
    std::string document;
    const bool done = command(
        "timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
        "--disable-background-networking --disable-component-update --disable-sync "
        "--disable-dev-shm-usage --virtual-time-budget=60000 --dump-dom --user-data-dir='" +
            folder + "/profile' 'file://" + folder + "/all.html' 2>/dev/null",
        document);
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(done);
    reports = reportsIn(document);
  }
  void SetUp() override {
    if (!hasChromium) GTEST_SKIP() << "needs chromium (Debian: chromium), which was not found";
  }

  static Report reportOf(const Kind& kind, const std::string& encoding, AMFEscapeFor escapeFor) {
    const auto found = reports.find(nameOf(kind, encoding, escapeFor));
    return found == reports.end() ? Report{"no report", "?", "?"} : found->second;
  }

  static bool hasChromium;
  static std::map<std::string, Report> reports;
};

bool EscapeBrowser::hasChromium = false;
std::map<std::string, Report> EscapeBrowser::reports;

TEST_F(EscapeBrowser, ViewsPreparedForScriptsAssignAndDoNothingElse) {
  for (const Kind& kind : kKinds) {
    for (const Encoding& encoding : kEncodings) {
      SCOPED_TRACE(nameOf(kind, encoding.declared, AMFEscapeFor::script));
      const Report report = reportOf(kind, encoding.declared, AMFEscapeFor::script);
      EXPECT_EQ(kind.isXML ? encoding.inXML : encoding.inHTML, report.encoding);
      EXPECT_EQ("none", report.ran);
      EXPECT_EQ("none", report.wrong);
    }
  }
}

struct Danger {
  const char* encoding;
  const char* attack;    // that runs
  const char* elements;  // in script elements of HTML too
};

const Danger kDangers[] = {
    {"utf-8", "reference", nullptr},     {"windows-1252", "reference", nullptr},
    {"shift_jis", "reference", "shift"}, {"gbk", "reference", "shift"},
    {"gb18030", "reference", "shift"},   {"big5", "reference", "big"},
    {"", "reference", "japanese"}};

// Otherwise the test above would prove nothing.
TEST_F(EscapeBrowser, ViewsPreparedForJSONRunInEachOfThesePlaces) {
  for (const Danger& row : kDangers) {
    for (const Kind& kind : kKinds) {
      SCOPED_TRACE(nameOf(kind, row.encoding, AMFEscapeFor::json));
      const Report report = reportOf(kind, row.encoding, AMFEscapeFor::json);
      for (const std::string place : kind.places) {
        const bool isElement = place == "element" && !kind.isXML;
        if (isElement && !row.elements) continue;
        const std::string expected =
            place + "/" + (isElement ? row.elements : row.attack) + "/script";
        EXPECT_NE(std::string::npos, (report.ran + " ").find(expected + " "))
            << expected << ", " << report.encoding << ": " << report.ran;
      }
    }
  }
}

}  // namespace
