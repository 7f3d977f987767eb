// Cuts XML into tags and the text between them, as tolerantly as the files of the interchange format need.
#ifndef QVR_FORMATS_XML_SCANNER_H
#define QVR_FORMATS_XML_SCANNER_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qvr {

// A tag's name and those of its attributes are in upper case: files differ in it.
struct XmlTag {
  enum class Kind { kStart, kEnd, kEmpty };

  Kind kind = Kind::kStart;
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;

  // Null if there is none.
  [[nodiscard]] const std::string* FindAttribute(std::string_view attribute) const;
};

// Nothing outside the text is ever looked at. Declarations, the document type with what stands in its
// brackets, and comments count as white space. In time linear in the text, whatever it holds.
class XmlScanner {
 public:
  explicit XmlScanner(std::string newText);

  // To behind the next tag, over text. False at the end.
  bool NextTag(XmlTag& tag);
  // The tag just read comes again.
  void Back();
  // What stands before the next tag: trimmed, in the file's encoding, with the five entities and the
  // references to characters undone.
  std::string ReadText();
  // To behind the prolog. What stands there first, if it isn't a tag, else an empty text.
  std::string ReadStrayWord();

  [[nodiscard]] int GetLine() const { return line; }

 private:
  [[nodiscard]] bool IsAt(std::string_view marker) const;
  [[nodiscard]] bool IsAtTag() const;
  [[nodiscard]] char Current() const { return cursor < text.size() ? text[cursor] : '\0'; }
  void MoveTo(std::size_t place);
  void MoveBehind(std::string_view marker);
  bool SkipMarkup();
  void SkipDocumentType();
  void SkipSpace();
  std::string ReadName();
  void ReadAttributes(XmlTag& tag);
  std::string ReadAttributeValue();

  std::string text;
  std::size_t cursor = 0;
  int line = 1;
  std::size_t tagStart = 0;
  int tagLine = 1;
};

}  // namespace qvr

#endif
