// A network's graph in the language of Graphviz.
#ifndef QVR_APP_COMMAND_DOT_GRAPH_H
#define QVR_APP_COMMAND_DOT_GRAPH_H

#include <string>

#include "model/network.h"

namespace qvr {

// In UTF-8. The kind of a node shows in its shape: chance in an ellipse, deterministic in a double one,
// continuous in a dashed one, decisions in boxes, utilities in hexagons. With bars a node is a table of its
// outcomes and their posteriors as they stand in its value.
[[nodiscard]] std::string DotGraph(QVR_network& network, bool withBars);

}  // namespace qvr

#endif
