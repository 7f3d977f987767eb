#include "formats/xml_writer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "model/special_numbers.h"

namespace qvr {
namespace {

TEST(XmlWriter, WritesATagALine) {
  std::string text;
  XmlWriterStringOutput output(text);
  XmlWriter writer;
  writer.SetOutput(&output);
  writer.Start(true);
  std::string passing = "it's";
  writer.AddAttribute("text", passing.c_str());
  passing = "gone";
  writer.AddAttribute("yes", true);
  writer.AddAttribute("count", -7);
  writer.AddAttribute("number", 0.1);
  {
    ScopedElement outer(writer, "outer");
    const ScopedElement inner(writer, "inner");
    writer.WriteElement("empty", nullptr, kEscapeMarkup);
    writer.WriteElement("void", "", kEscapeMarkup);
    writer.WriteDoubleList("list", std::initializer_list<double>{1.0 / 3, kNotAvailable, 1e300, -0.0}, "n/a",
                           kNotAvailable);
    writer.WriteDoubleList("nothing", {});
    writer.WriteIntList("ints", std::initializer_list<int>{3, -1, 0});
  }
  EXPECT_EQ(text,
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<outer text=\"it&apos;s\" yes=\"true\" count=\"-7\" number=\"0.1\">\n"
            "\t<inner>\n"
            "\t\t<empty />\n"
            "\t\t<void></void>\n"
            "\t\t<list>0.3333333333333333 n/a 1e+300 -0</list>\n"
            "\t\t<nothing></nothing>\n"
            "\t\t<ints>3 -1 0</ints>\n"
            "\t</inner>\n"
            "</outer>\n");
}

TEST(XmlWriter, EscapesWhatMarkupOrTheReaderWouldTake) {
  struct {
    const char* text;
    const char* markup;
    const char* lines;
  } const cases[] = {
      {"<a & \"b\" 'c'>", "&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;",
       "&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;"},
      {"1\t2\n3\r4\\5\\n", "1.2.3.4\\5\\n", "1\\t2\\n34\\\\5\\\\n"},
      {"\x01\x1f \x7f\x80\xe9\xff", ".. \x7f\x80\xe9\xff", ".. \x7f\x80\xe9\xff"},
  };
  for (const auto& c : cases) {
    for (const int level : {kEscapeMarkup, kEscapeLines}) {
      std::string text;
      XmlWriterStringOutput output(text);
      XmlWriter writer;
      writer.SetOutput(&output);
      writer.AddAttribute("a", c.text);
      writer.WriteElement("e", c.text, level);
      EXPECT_EQ(text, std::string("<e a=\"") + c.markup + "\">" +
                          (level == kEscapeLines ? c.lines : c.markup) + "</e>\n");
    }
  }
}

}  // namespace
}  // namespace qvr
