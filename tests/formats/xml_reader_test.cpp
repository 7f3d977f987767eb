#include "formats/xml_reader.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "formats/latin1.h"
#include "formats/xml_error_handler.h"
#include "model/status.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;

// Writes down its callbacks; what it does besides is up to the test.
class RecordingHandler : public IXmlHandler {
 public:
  RecordingHandler(Strings& newEvents, const char* newName, bool newWantsTokens = false)
      : events(newEvents), name(newName), wantsTokens(newWantsTokens) {}
  void Start(IXmlReader& reader) override {
    events.push_back("<" + name);
    if (onStart) {
      onStart(reader);
    }
  }
  void End(IXmlReader& reader) override { events.push_back(name + ">" + reader.GetRawText()); }
  void Token(IXmlReader& reader) override {
    events.push_back(reader.GetRawText());
    if (reader.GetRawText() == "stop") {
      reader.Abort("Stopped");
    }
  }
  [[nodiscard]] bool WantsTokens() const override { return wantsTokens; }

  std::function<void(IXmlReader&)> onStart;

 private:
  Strings& events;
  std::string name;
  bool wantsTokens;
};

// doc: list* (words), item* (id, n), once?, group* (must)
class Schema {
 public:
  explicit Schema(int validation) : doc(nullptr, "doc", validation) {
    doc.AddChild(list, kXmlRepeated);
    doc.AddChild(item, kXmlRepeated);
    doc.AddChild(once, 0);
    doc.AddChild(group, kXmlRepeated);
    item.AddAttribute("id", kXmlRequired);
    item.AddAttribute("n", 0);
    group.AddChild(must, kXmlRequired);
  }
  bool Parse(const std::string& text) {
    events.clear();
    GetErrorLog().Clear();
    return reader.ParseString(text.c_str(), doc, &errors);
  }

  Strings events;
  RecordingHandler listHandler{events, "list", true};
  RecordingHandler itemHandler{events, "item"};
  RecordingHandler groupHandler{events, "group"};
  XmlBinding doc;
  XmlBinding list{&listHandler, "list", kXmlInherit};
  XmlBinding item{&itemHandler, "item", kXmlInherit};
  XmlBinding once{nullptr, "once", kXmlInherit};
  XmlBinding group{&groupHandler, "group", kXmlInherit};
  XmlBinding must{nullptr, "must", kXmlInherit};
  XmlErrorHandler errors;
  XmlReader reader;
};

// The callbacks, and on lines of their own what was logged.
std::string Trace(const Schema& schema) {
  std::string trace;
  for (const std::string& event : schema.events) {
    trace += event + ' ';
  }
  for (const std::string& message : LogGuard::Messages()) {
    trace += '\n' + message;
  }
  return trace;
}

struct DocumentCase {
  const char* what;
  int validation;
  const char* text;
  const char* trace;
};

constexpr DocumentCase kDocumentCases[] = {
    {"other root", kXmlLax, "<x/>", "\nError at 1, 0: Unknown root element 'x', expected 'doc'"},
    {"unknown child, strict by default", kXmlInherit, "<doc>\n <zzz/></doc>",
     "\nError at 2, 1: Unknown element 'zzz' in 'doc'"},
    {"unknown child under strict attributes alone", kXmlStrictAttributes, "<doc><zzz/></doc>",
     "\nWarning: Ignored unknown element 'zzz' at 1, 5"},
    {"one warning for each unknown subtree", kXmlLax,
     "<doc><zzz a=''><list>1</list><y/></zzz>\n<zzz/><list>2</list></doc>",
     "<list 2 list>2 \nWarning: Ignored unknown element 'zzz' at 1, 5"
     "\nWarning: Ignored unknown element 'zzz' at 2, 0"},
    {"silent subtree", kXmlSilent, "<doc a=''><zzz/><y b=''/></doc>", ""},
    {"unknown attribute, strict inherited", kXmlStrictAttributes, "<doc><item id='' q='1'/></doc>",
     "\nError at 1, 5: Unknown attribute 'q' in element 'item'"},
    {"unknown attributes, lax", kXmlStrictChildren, "<doc p=''><item q='1' id=''/></doc>",
     "<item item> \nWarning: Ignored unknown attribute 'p' in 'doc' at 1, 0"
     "\nWarning: Ignored unknown attribute 'q' in 'item' at 1, 10"},
    {"required attribute before unknown ones", kXmlInherit, "<doc><item q=''/></doc>",
     "\nError at 1, 5: Required attribute 'id' not found in element 'item'"},
    {"second occurrence before its attributes", kXmlInherit, "<doc><once/><once q=''/></doc>",
     "\nError at 1, 12: Multiple occurences of 'once' not allowed in 'doc'"},
    {"required child, after the element's end", kXmlInherit, "<doc><group>t</group><item id=''/></doc>",
     "<group group>t \nError at 1, 13: Required element 'must' not present in element 'group'"},
    {"records start afresh", kXmlInherit, "<doc><group>t<must/></group><group><must/>u</group></doc>",
     "<group group>t <group group>u "},
    {"words", kXmlInherit, "<doc><list/><list> \n</list><list>\t1  2&#13;3&#160;4\n</list></doc>",
     "<list list> <list list> <list 1 2 3\xA0"
     "4 list> "},
    {"abort by a word in the middle", kXmlInherit, "<doc><list>1 stop 2</list><list>3</list></doc>",
     "<list 1 stop \nError at 1, 11: Stopped"},
    {"abort by the last word runs no end", kXmlInherit, "<doc><list>stop</list></doc>",
     "<list stop \nError at 1, 15: Stopped"},
    {"text keeps its white space", kXmlInherit, "<doc><item id=''> \xC3\xA9 &#x20AC;\n</item></doc>",
     "<item item> \xE9 ?\n "},
    {"syntax", kXmlInherit, "<doc>\n<list>1</item></doc>", "<list \nError at 2, 9: mismatched tag"},
    {"empty", kXmlInherit, "", "\nError at 1, 0: no element found"},
    {"syntax error behind an error", kXmlInherit, "<doc><zzz/></list>",
     "\nError at 1, 5: Unknown element 'zzz' in 'doc'\nError at 1, 13: mismatched tag"},
};

TEST(XmlReader, ChecksDocumentsAgainstBindings) {
  const LogGuard guard;
  for (const DocumentCase& c : kDocumentCases) {
    Schema schema(c.validation);
    for (int round = 0; round < 2; ++round) {  // a reader may be used again
      EXPECT_EQ(schema.Parse(c.text), std::string(c.trace).find("Error") == std::string::npos) << c.what;
      EXPECT_EQ(Trace(schema), c.trace) << c.what;
    }
  }
}

TEST(XmlReader, WithoutErrorHandlerFailsSilently) {
  const LogGuard guard;
  Schema schema(kXmlInherit);
  EXPECT_FALSE(schema.reader.ParseString("<doc", schema.doc, nullptr));
  EXPECT_FALSE(schema.reader.ParseString("<doc><zzz/></doc>", schema.doc, nullptr));
  EXPECT_FALSE(schema.reader.ParseFile("/no/such/file", schema.doc, nullptr));
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
}

TEST(XmlReader, KeepsWordsWholeAcrossBlocks) {
  const LogGuard guard;
  const std::string words = "0.125 caf\xC3\xA9 \xE2\x82\xAC 7";
  for (std::size_t padding = 4096 - 40; padding < 4096 + 4; ++padding) {
    Schema schema(kXmlInherit);
    ASSERT_TRUE(schema.Parse("<doc><list>" + std::string(padding, ' ') + words + "</list></doc>"));
    EXPECT_EQ(schema.events, (Strings{"<list", "0.125", "caf\xE9", "?", "7", "list>7"})) << padding;
  }
}

TEST(XmlReader, AFailingStartPushesNothingAndReportsOnce) {
  const LogGuard guard;
  Schema schema(kXmlInherit);
  schema.groupHandler.onStart = [](IXmlReader& reader) {
    reader.Abort("First");
    reader.Abort("Second");
  };
  EXPECT_FALSE(schema.Parse("<doc>\n<group>text</group></doc>"));
  EXPECT_EQ(Trace(schema), "<group \nError at 2, 0: First");
  schema.groupHandler.onStart = [](IXmlReader&) { throw std::bad_alloc(); };
  EXPECT_FALSE(schema.Parse("<doc><group/><list>1</list></doc>"));
  EXPECT_EQ(Trace(schema), "<group \nError at 1, 5: Out of memory");
}

std::string ReadAttribute(IXmlReader& reader, char kind) {
  int number = -1;
  double real = -1;
  bool truth = false;
  std::string text = "old";
  switch (kind) {
    case 'i':
      return reader.GetIntAttribute("n", number, 42) ? std::to_string(number) : "refused";
    case 'd':
      return reader.GetDoubleAttribute("n", real, 42) ? std::to_string(real) : "refused";
    case 'b':
      return reader.GetBoolAttribute("n", truth, true) ? (truth ? "yes" : "no") : "refused";
    default:
      reader.GetStringAttribute("n", text);
      return text;
  }
}

TEST(XmlReader, ReadsAttributes) {
  const LogGuard guard;
  struct {
    char kind;
    const char* attribute;
    const char* result;
  } const cases[] = {
      {'i', "n='12'", "12"},
      {'i', "n='12abc'", "12"},
      {'i', "n=' -7'", "-7"},
      {'i', "n='+3'", "3"},
      {'i', "n='+-3'", "refused"},
      {'i', "n=''", "0"},
      {'i', "", "42"},
      {'i', "n='abc'", "refused"},
      {'i', "n='0x10'", "refused"},
      {'i', "n='1.5'", "1"},
      {'i', "n=' '", "refused"},
      {'i', "n='-2147483648'", "-2147483648"},
      {'i', "n='2147483648'", "refused"},
      {'i', "n='99999999999999999999'", "refused"},
      {'d', "n='1.5e3x'", "1500.000000"},
      {'d', "n='0x10'", "16.000000"},
      {'d', "n='0z'", "refused"},
      {'d', "n=''", "0.000000"},
      {'d', "", "42.000000"},
      {'d', "n='x'", "refused"},
      {'b', "n='true'", "yes"},
      {'b', "n='false'", "no"},
      {'b', "", "yes"},
      {'b', "n='True'", "refused"},
      {'b', "n=''", "refused"},
      {'s', "n='&#233;&#8364;'", "\xE9?"},
      {'s', "", ""},
  };
  const std::map<char, const char*> messages = {
      {'i', "Integer value expected for attribute 'n'"},
      {'d', "Floating point value expected for attribute 'n'"},
      {'b', "'true' or 'false' expected as value of boolean attribute 'n'"}};
  for (const auto& c : cases) {
    Schema schema(kXmlInherit);
    std::string result;
    schema.itemHandler.onStart = [&](IXmlReader& reader) { result = ReadAttribute(reader, c.kind); };
    const bool ok = schema.Parse(std::string("<doc><item id='' ") + c.attribute + "/></doc>");
    EXPECT_EQ(result, c.result) << c.kind << ' ' << c.attribute;
    EXPECT_EQ(ok, result != "refused");
    EXPECT_EQ(LogGuard::Messages(),
              ok ? Strings{} : Strings{std::string("Error at 1, 5: ") + messages.at(c.kind)});
  }
}

TEST(Latin1, ConvertsWhatItCan) {
  struct {
    std::string utf8;
    std::string latin1;
  } const cases[] = {
      {"plain", "plain"},
      {"\xC3\xBF\xC2\x80", "\xFF\x80"},
      {"\xC4\x80", "?"},
      {"\xF0\x9F\x98\x80", "?"},
      {"a\xC3", "a\x03"},
      {"\xC3z", "\x03z"},
      {"\xA9\xA9", "?"},
      {"\xA9z", ")z"},
      {"\xFC\x80\x80\x80\x83\xA9", "\xE9"},
  };
  for (const auto& c : cases) {
    std::string text = c.utf8;
    ConvertToLatin1(text);
    EXPECT_EQ(text, c.latin1);
  }
}

std::string Repeat(const std::string& text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

// Entities that each stand for ten of the one before, down to a letter.
std::string GrowingEntities() {
  std::string text = "<!DOCTYPE doc [<!ENTITY e0 'x'>";
  for (int i = 1; i <= 12; ++i) {
    text += "<!ENTITY e" + std::to_string(i) + " '" + Repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  return text + "]><doc><once>&e12;</once></doc>";
}

// Entities that each stand for the one before: expanding the last would recurse through all.
std::string NestedEntities(int count) {
  std::string text = "<!DOCTYPE doc [<!ENTITY e0 'x'>";
  for (int i = 1; i < count; ++i) {
    text += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
  }
  return text + "]><doc><once>&e" + std::to_string(count - 1) + ";</once></doc>";
}

TEST(XmlReader, SurvivesHostileDocuments) {
  const LogGuard guard;
  constexpr std::size_t kLong = 6 << 20;
  struct {
    const char* what;
    std::string text;
    const char* message;  // the end of the one message, or null for success
  } const cases[] = {
      {"depth", "<doc>" + Repeat("<d>", 10'000) + Repeat("</d>", 10'000) + "</doc>", nullptr},
      {"great depth", "<doc>" + Repeat("<d>", 200'000), "Elements nested too deeply"},
      {"long attribute", "<doc><item id='" + std::string(kLong, 'a') + "'/></doc>", "Markup too long"},
      {"long comment", "<doc><!--" + std::string(kLong, 'a') + "--></doc>", "Markup too long"},
      {"fair attribute", "<doc><item id='" + std::string(1 << 20, 'a') + "'/></doc>", nullptr},
      {"long text", "<doc><once>" + std::string(kLong, 'a') + "</once></doc>", nullptr},
      {"long word", "<doc><list>" + std::string(kLong, '1') + "</list></doc>", nullptr},
      {"many elements", "<doc>" + Repeat("<item id=''/>", 100'000) + "</doc>", nullptr},
      {"growing entities", GrowingEntities(),
       "limit on input amplification factor (from DTD and entities) breached"},
      {"nested entities", NestedEntities(900), nullptr},
      {"deeply nested entities", NestedEntities(20'000), "Too many entities"},
      {"external entity", "<!DOCTYPE doc [<!ENTITY e SYSTEM '/etc/hostname'>]><doc><once>&e;</once></doc>",
       nullptr},
  };
  for (const auto& c : cases) {
    Schema schema(kXmlSilent);
    EXPECT_EQ(schema.Parse(c.text), c.message == nullptr) << c.what;
    ASSERT_EQ(GetErrorLog().GetCount(), c.message == nullptr ? 0 : 1) << c.what;
    if (c.message != nullptr) {
      EXPECT_TRUE(LogGuard::Messages()[0].ends_with(c.message)) << LogGuard::Messages()[0];
    }
  }
}

TEST(XmlReader, StopsListingEndlessWarnings) {
  const LogGuard guard;
  Schema schema(kXmlLax);
  EXPECT_TRUE(schema.Parse("<doc>" + Repeat("<z/>", 101'000) + "</doc>"));
  ASSERT_EQ(GetErrorLog().GetCount(), 100'001);
  EXPECT_STREQ(GetErrorLog().GetMessage(100'000),
               "Warning: Further unknown content isn't listed at 1, 400005");
}

}  // namespace
}  // namespace qvr
