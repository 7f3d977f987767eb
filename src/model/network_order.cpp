#include "model/network.h"

#include <algorithm>
#include <numeric>

namespace qvr {

namespace {

enum class SearchState { GoesOn, Exhausted, Met };

// A search over arcs in one direction, that goes on by one arc at a time.
struct ArcSearch {
  QVR_intArray QVR_nodeEntry::*arcs;
  std::vector<int> reached = {};
  std::size_t current = 0;
  int nextArc = 0;
  unsigned mark = 0;

  void Start(int handle, unsigned newMark) {
    reached.assign(1, handle);
    current = 0;
    nextArc = 0;
    mark = newMark;
  }
};

// A path from `child` to `parent` is looked for from both ends by turns. Either search may end the test, so
// an arc at a fresh node costs next to nothing however large the graph is at its other end. A thread keeps
// one, so that a test costs only what it visits.
class CycleSearch {
 public:
  bool FindsPath(const std::vector<QVR_nodeEntry>& nodes, int child, int parent) {
    Start(nodes.size(), child, parent);
    SearchState state = SearchState::GoesOn;
    while (state == SearchState::GoesOn) {
      state = Step(nodes, forward, backward.mark);
      if (state == SearchState::GoesOn) {
        state = Step(nodes, backward, forward.mark);
      }
    }
    return state == SearchState::Met;
  }

 private:
  void Start(std::size_t tableSize, int child, int parent) {
    if (marks.size() < tableSize) {
      marks.resize(tableSize, 0);
    }
    if (lastMark >= ~2U) {  // the marks of thousands of millions of tests ago must not count again
      std::fill(marks.begin(), marks.end(), 0U);
      lastMark = 0;
    }
    forward.Start(child, ++lastMark);
    backward.Start(parent, ++lastMark);
    MarkOf(child) = forward.mark;
    MarkOf(parent) = backward.mark;
  }

  SearchState Step(const std::vector<QVR_nodeEntry>& nodes, ArcSearch& search, unsigned otherMark) {
    for (; search.current < search.reached.size(); ++search.current, search.nextArc = 0) {
      const auto& entry = nodes[static_cast<std::size_t>(search.reached[search.current])];
      const QVR_intArray& arcs = entry.*search.arcs;
      if (search.nextArc < arcs.GetNumItems()) {
        return Reach(search, arcs[search.nextArc++], otherMark);
      }
    }
    return SearchState::Exhausted;
  }

  SearchState Reach(ArcSearch& search, int handle, unsigned otherMark) {
    unsigned& mark = MarkOf(handle);
    if (mark == otherMark) {
      return SearchState::Met;
    }
    if (mark != search.mark) {
      mark = search.mark;
      search.reached.push_back(handle);
    }
    return SearchState::GoesOn;
  }

  unsigned& MarkOf(int handle) { return marks[static_cast<std::size_t>(handle)]; }

  ArcSearch forward{&QVR_nodeEntry::children};
  ArcSearch backward{&QVR_nodeEntry::parents};
  std::vector<unsigned> marks;  // by handle: the search that reached the node last
  unsigned lastMark = 0;
};

// A node and how many of its parents have been looked at.
struct OrderVisit {
  int handle;
  int nextParent;
};

// The root of a set in a forest of links, halving the paths on the way.
int FindRoot(std::vector<int>& links, int item) {
  auto link = [&links](int i) -> int& { return links[static_cast<std::size_t>(i)]; };
  while (link(item) != item) {
    link(item) = link(link(item));
    item = link(item);
  }
  return item;
}

}  // namespace

void QVR_network::ClearEntryBits(unsigned bits) {
  for (QVR_nodeEntry& entry : nodes) {
    entry.flags &= ~bits;
  }
}

void QVR_network::GetDescendants(int handle, QVR_intArray& out) {
  if (!IsValidHandle(handle)) {
    return;
  }
  ClearEntryBits(kEntryDescendant);
  std::vector<int> open{handle};
  while (!open.empty()) {
    const int current = open.back();
    open.pop_back();
    for (int child : Entry(current).children) {
      if ((Entry(child).flags & kEntryDescendant) == 0) {
        Entry(child).flags |= kEntryDescendant;
        open.push_back(child);
      }
    }
  }
  for (int i = 0; i < GetTableSize(); ++i) {
    if ((Entry(i).flags & kEntryDescendant) != 0) {
      out.Add(i);
    }
  }
}

int QVR_network::IsAcyclic() const {
  // Nodes go as soon as all their parents are gone; what is left over lies on cycles or below them.
  std::vector<int> parentsLeft(nodes.size());
  std::vector<int> open;
  for (int handle = FirstNode(); handle >= 0; handle = NextNode(handle)) {
    const int count = Entry(handle).parents.GetNumItems();
    parentsLeft[static_cast<std::size_t>(handle)] = count;
    if (count == 0) {
      open.push_back(handle);
    }
  }
  int gone = 0;
  for (; !open.empty(); ++gone) {
    const int handle = open.back();
    open.pop_back();
    for (int child : Entry(handle).children) {
      if (--parentsLeft[static_cast<std::size_t>(child)] == 0) {
        open.push_back(child);
      }
    }
  }
  return gone == numNodes ? 1 : 0;
}

bool QVR_network::WouldStayAcyclic(int parent, int child) const {
  if (parent == child || !IsValidHandle(parent) || !IsValidHandle(child)) {
    return false;
  }
  thread_local CycleSearch search;
  return !search.FindsPath(nodes, child, parent);
}

int QVR_network::IsPolytree() const {
  // There is at most one arc between two nodes, so an arc inside one connected set closes a cycle.
  std::vector<int> links(nodes.size());
  std::iota(links.begin(), links.end(), 0);
  for (int child = 0; child < GetTableSize(); ++child) {
    for (int parent : Entry(child).parents) {
      const int parentRoot = FindRoot(links, parent);
      const int childRoot = FindRoot(links, child);
      if (parentRoot == childRoot) {
        return 0;
      }
      links[static_cast<std::size_t>(childRoot)] = parentRoot;
    }
  }
  return 1;
}

const QVR_intArray& QVR_network::GetTopologicalOrder() {
  topologicalOrder.Reset(numNodes);
  ClearEntryBits(kEntryOrdered | kEntryOnPath);
  std::vector<OrderVisit> path;
  for (int start = FirstNode(); start >= 0; start = NextNode(start)) {
    if ((Entry(start).flags & kEntryOrdered) == 0) {
      path.push_back({start, 0});
      Entry(start).flags |= kEntryOnPath;
    }
    while (!path.empty()) {
      auto& [handle, nextParent] = path.back();
      QVR_nodeEntry& entry = Entry(handle);
      if (nextParent == entry.parents.GetNumItems()) {
        entry.flags |= kEntryOrdered;
        topologicalOrder.Add(handle);
        path.pop_back();
        continue;
      }
      const int parent = entry.parents[nextParent++];
      // A node on the path stands for a cycle, which a file's own word may have let in.
      if ((Entry(parent).flags & (kEntryOrdered | kEntryOnPath)) == 0) {
        Entry(parent).flags |= kEntryOnPath;
        path.push_back({parent, 0});
      }
    }
  }
  return topologicalOrder;
}

int QVR_network::ComputeLevels() {
  const QVR_intArray& order = GetTopologicalOrder();
  int highest = 0;
  for (int i = order.GetNumItems() - 1; i >= 0; --i) {
    QVR_nodeEntry& entry = Entry(order[i]);
    entry.level = 0;
    for (int child : entry.children) {
      entry.level = std::max(entry.level, Entry(child).level + 1);
    }
    highest = std::max(highest, entry.level);
  }
  return highest;
}

void QVR_network::GetDecisionFirstOrder(QVR_intArray& out) {
  out.Flush();
  const QVR_intArray& order = GetTopologicalOrder();
  std::vector<int> place(nodes.size(), -1);  // in the topological order; -1 once a node stands in out
  const auto placeOf = [&place](int handle) -> int& { return place[static_cast<std::size_t>(handle)]; };
  for (int i = 0; i < order.GetNumItems(); ++i) {
    placeOf(order[i]) = i;
  }
  const auto append = [&](int handle) {
    if (placeOf(handle) >= 0) {
      placeOf(handle) = -1;
      out.Add(handle);
    }
  };
  for (int handle : order) {
    if ((Entry(handle).node->GetType() & kTypeBitDecision) == 0) {
      continue;
    }
    std::vector<int> informed(Entry(handle).parents.begin(), Entry(handle).parents.end());
    std::sort(informed.begin(), informed.end(), [&](int a, int b) { return placeOf(a) < placeOf(b); });
    std::for_each(informed.begin(), informed.end(), append);
    append(handle);
  }
  std::for_each(order.begin(), order.end(), append);
}

}  // namespace qvr
