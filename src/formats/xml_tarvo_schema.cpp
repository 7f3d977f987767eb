// The vocabulary of the front-end's section as a tree of bindings. Like the whole format it is lax.
#include "formats/xml_tarvo_loader.h"

namespace qvr {

XmlTarvoLoader::XmlTarvoLoader(IXmlReader& reader, QVR_network& newNetwork)
    : network(newNetwork),
      tarvo(reader, *this, "tarvo", {.start = &XmlTarvoLoader::StartRoot}, kXmlLax),
      node(reader, *this, "node", {.start = &XmlTarvoLoader::StartNode, .end = &XmlTarvoLoader::EndObject}),
      submodel(reader, *this, "submodel",
               {.start = &XmlTarvoLoader::StartSubmodel, .end = &XmlTarvoLoader::EndSubmodel}),
      textBox(reader, *this, "textbox",
              {.start = &XmlTarvoLoader::StartTextBox, .end = &XmlTarvoLoader::EndTextBox}),
      networkComment(reader, *this, "comment", {.end = &XmlTarvoLoader::EndNetworkComment}),
      name(reader, *this, "name", {.end = &XmlTarvoLoader::EndName}),
      caption(reader, *this, "caption", {.end = &XmlTarvoLoader::EndName}),
      comment(reader, *this, "comment", {.end = &XmlTarvoLoader::EndComment}),
      interior(reader, *this, "interior", {.start = &XmlTarvoLoader::StartInterior}),
      outline(reader, *this, "outline", {.start = &XmlTarvoLoader::StartOutline}),
      font(reader, *this, "font", {.start = &XmlTarvoLoader::StartFont}),
      position(reader, *this, "position",
               {.start = &XmlTarvoLoader::StartPosition,
                .end = &XmlTarvoLoader::EndPosition,
                .token = &XmlTarvoLoader::TakePosition}),
      window(reader, *this, "window",
             {.start = &XmlTarvoLoader::StartPosition,
              .end = &XmlTarvoLoader::EndWindow,
              .token = &XmlTarvoLoader::TakePosition}),
      question(reader, *this, "question", {.end = &XmlTarvoLoader::EndQuestion}),
      nodeLink(reader, *this, "link", {.start = &XmlTarvoLoader::StartNodeLink}),
      state(reader, *this, "state", {.start = &XmlTarvoLoader::StartState}),
      stateComment(reader, *this, "comment", {.end = &XmlTarvoLoader::EndStateComment}),
      fix(reader, *this, "fix", {.end = &XmlTarvoLoader::EndFix}),
      stateLink(reader, *this, "link", {.start = &XmlTarvoLoader::StartStateLink}),
      plate(reader, *this, "plate", {.start = &XmlTarvoLoader::StartPlate}),
      platePosition(reader, *this, "position",
                    {.start = &XmlTarvoLoader::StartPosition,
                     .end = &XmlTarvoLoader::EndPlatePosition,
                     .token = &XmlTarvoLoader::TakePosition}),
      definitionComment(reader, *this, "defcomment", {.start = &XmlTarvoLoader::StartCellComment}),
      costComment(reader, *this, "costcomment", {.start = &XmlTarvoLoader::StartCellComment}),
      barChart(reader, *this, "barchart", {.start = &XmlTarvoLoader::StartBarChart}),
      arcComment(reader, *this, "arccomment", {.start = &XmlTarvoLoader::StartArcComment}),
      arcFormat(reader, *this, "arcformat", {.start = &XmlTarvoLoader::StartArcFormat}),
      diagAutoFormat(reader, *this, "diagautoformat", {.start = &XmlTarvoLoader::StartAutoFormat}),
      qualColors(reader, *this, "qualcolors", {.start = &XmlTarvoLoader::StartQualColors}) {
  BuildSchema();
}

void XmlTarvoLoader::BuildSchema() {
  tarvo.AddAttributes(kXmlRequired, {"version", "name"});
  tarvo.AddAttributes(0, {"app", "faultnameformat", "arccolor", "costarccolor", "arcwidth", "costarcwidth"});
  tarvo.AddChildren(kXmlRepeated, {&node, &submodel, &textBox});
  tarvo.AddChildren(0, {&networkComment});
  tarvo.AddChildren(kXmlRepeated, {&arcComment, &arcFormat});
  tarvo.AddChildren(0, {&diagAutoFormat, &qualColors, &plate});

  for (Element* const object : {&node, &submodel}) {
    object->AddAttributes(kXmlRequired, {"id"});
    object->AddChildren(kXmlRequired, {&name, &interior, &outline, &font, &position});
    object->AddChildren(0, {&comment});
  }
  interior.AddAttributes(kXmlRequired, {"color"});
  outline.AddAttributes(kXmlRequired, {"color"});
  outline.AddAttributes(0, {"width"});
  font.AddAttributes(kXmlRequired, {"name", "size", "color"});
  font.AddAttributes(0, {"bold", "italic"});

  node.AddAttributes(0, {"faultnameformat"});
  node.AddChildren(kXmlRepeated, {&definitionComment, &costComment, &state, &nodeLink});
  node.AddChildren(0, {&question, &barChart});
  definitionComment.AddAttributes(kXmlRequired, {"row", "col"});
  costComment.AddAttributes(kXmlRequired, {"row", "col"});
  state.AddAttributes(kXmlRequired, {"id"});
  state.AddAttributes(0, {"globalid", "faultname"});
  state.AddChildren(0, {&fix, &stateComment});
  state.AddChildren(kXmlRepeated, {&stateLink});
  nodeLink.AddAttributes(kXmlRequired, {"title", "path"});
  stateLink.AddAttributes(kXmlRequired, {"title", "path"});
  barChart.AddAttributes(0, {"active", "width", "height"});

  submodel.AddChildren(kXmlRepeated, {&node, &submodel, &textBox});
  submodel.AddChildren(0, {&window});
  textBox.AddChildren(kXmlRequired, {&caption, &font, &position});
  textBox.AddChildren(0, {&comment});

  arcComment.AddAttributes(kXmlRequired, {"parent", "child"});
  arcComment.AddAttributes(0, {"order", "cost"});
  arcFormat.AddAttributes(kXmlRequired, {"parent", "child", "width", "color"});
  arcFormat.AddAttributes(0, {"order", "cost"});
  diagAutoFormat.AddAttributes(kXmlRequired,
                               {"target", "targetnr", "observation", "observationnr", "auxiliary"});
  qualColors.AddAttributes(kXmlRequired, {"left", "center", "right"});
  qualColors.AddAttributes(0, {"blend"});
  plate.AddAttributes(kXmlRequired, {"leftwidth", "rightwidth"});
  plate.AddChildren(kXmlRequired, {&platePosition});
}

}  // namespace qvr
