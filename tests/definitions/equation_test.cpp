// Equations: what is taken and refused, and how they follow the parents.
#include "definitions/equation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <set>

#include "definitions/equation_scc.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;
using Intervals = std::vector<DiscretizationInterval>;

QVR_equation& EquationOf(QVR_network& network, int handle) {
  return dynamic_cast<QVR_equation&>(*network.NodeAt(handle)->definition);
}

std::string TextOf(QVR_network& network, int handle) {
  return dynamic_cast<EquationDefinition&>(*network.NodeAt(handle)->definition).GetEquation().GetText();
}

std::string ParentsOf(const QVR_network& network, int handle) {
  std::string text;
  for (int parent : network.GetParents(handle)) {
    text += network.NodeAt(parent)->GetId() + " ";
  }
  return text;
}

TEST(Equation, TellsWhatIsWrongAndChangesNothing) {
  const struct {
    const char* text;
    const char* message;
    int position;
  } cases[] = {
      {"", "Equation cannot be empty.", 0},
      {"x", "Toplevel '=' sign missing in equation", 0},
      {"x=(y", "')' expected", 4},
      {"x=w+nobody", "Unknown node identifier: nobody", 0},
      {"x=y+child+nobody",
       "Node child can't be used in equation for current node, because it would result in a cycle.", 0},
      {"x=y+c", "Only QVR_equation or QVR_equationSCC can be the parents.", 0},
  };
  const LogGuard log;
  QVR_network network;
  AddChance(network, "c", 2, {}, {0.5, 0.5});
  AddEquation(network, "y", "y=1");
  AddEquation(network, "w", "w=2");
  const int x = AddEquation(network, "x", "x=y+1");
  AddEquation(network, "child", "child=x");
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    GetErrorLog().Clear();
    int position = -1;
    std::string message;
    EXPECT_FALSE(EquationOf(network, x).ValidateEquation(row.text, &position, &message));
    EXPECT_EQ(GetErrorLog().GetCount(), 0);
    EXPECT_EQ(message.substr(0, std::string(row.message).size()), row.message);
    EXPECT_EQ(EquationOf(network, x).SetEquation(row.text, &position, &message), -2);
    EXPECT_EQ(log.Messages(-2), Strings{message});
    if (row.position > 0) {
      EXPECT_EQ(position, row.position);
    }
    EXPECT_EQ(TextOf(network, x), "x=y+1");
    EXPECT_EQ(ParentsOf(network, x), "y ");
  }
  // The last parent is refused by the temporal rule: the old ones come back in their order.
  ASSERT_EQ(EquationOf(network, x).SetEquation("x=w-y"), 0);
  ASSERT_EQ(network.SetDynamicType(AddEquation(network, "z", "z=1"), kDynamicPlate), 0);
  EXPECT_EQ(EquationOf(network, x).SetEquation("x=y+w+z"), -51);
  EXPECT_EQ(TextOf(network, x), "x=w-y");
  EXPECT_EQ(ParentsOf(network, x), "w y ");
  EXPECT_EQ(network.CheckInvariants(), "");
  // No formula may become higher than evaluation goes.
  std::string longest = "x=1";
  for (int i = 0; i < kMaxExpressionHeight - 3; ++i) {
    longest += "+1";
  }
  ASSERT_EQ(EquationOf(network, x).SetEquation(longest.c_str()), 0);
  EXPECT_EQ(network.AddArc(network.FindNode("y"), x, kOrdinaryLayer), 0);
  longest = TextOf(network, x);
  EXPECT_EQ(network.AddArc(network.FindNode("w"), x, kOrdinaryLayer), -51);
  EXPECT_EQ(TextOf(network, x), longest);
  EXPECT_EQ(ParentsOf(network, x), "y ");
}

TEST(Equation, FollowsEachChangeOfTheGraph) {
  const struct {
    const char* before;
    std::function<void(QVR_network&, int)> change;  // of x; y is node 0, z node 1, a chance node 2
    const char* after;
    bool stochastic;
    bool single;
  } cases[] = {
      {"x=0", [](QVR_network& n, int x) { n.AddArc(1, x, 0); }, "x=z", false, false},
      {"x=1", [](QVR_network& n, int x) { n.AddArc(1, x, 0); }, "x=1+z", false, false},
      {"x=2<y", [](QVR_network& n, int x) { n.AddArc(1, x, 0); }, "x=(2<y)+z", false, false},
      {"x=Normal(0,1)", [](QVR_network& n, int x) { n.AddArc(1, x, 0); }, "x=Normal(0,1)+z", true, false},
      {"x=3", [](QVR_network& n, int x) { n.AddArc(2, x, 0); }, "x=3", false, true},
      {"x=2*y+z", [](QVR_network& n, int x) { n.RemoveArc(0, x, 0); }, "x=z", false, false},
      {"x=Normal(z,y)", [](QVR_network& n, int) { n.DeleteNode(0); }, "x=z", false, false},
      {"x=y", [](QVR_network& n, int x) { n.RemoveArc(0, x, 0); }, "x=0", false, true},
      {"x+y=y*z", [](QVR_network& n, int) { n.NodeAt(0)->SetId("u"); }, "x+u=u*z", false, false},
      {"x+y=z", [](QVR_network& n, int x) { n.NodeAt(x)->SetId("v"); }, "v+y=z", false, false},
      {"x=y+z", [](QVR_network& n, int) { n.NodeAt(0)->ChangeType(kTypeCpt); }, "x=z", false, false},
      {"x=z-y", [](QVR_network& n, int) { n.NodeAt(0)->ChangeType(kTypeEquationScc); }, "x=z-y", false,
       false},
      {"x=z*5", [](QVR_network& n, int x) { EquationOf(n, x).SetEquation("Sin(x)=1=0"); }, "Sin(x)=1=0",
       false, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.before);
    const LogGuard log;
    QVR_network network;
    AddEquation(network, "y", "y=1");
    AddEquation(network, "z", "z=2");
    AddChance(network, "c", 2, {}, {0.5, 0.5});
    const int x = AddEquation(network, "x", row.before);
    row.change(network, x);
    EXPECT_EQ(TextOf(network, x), row.after);
    EXPECT_EQ(EquationOf(network, x).GetEquation().isStochastic, row.stochastic);
    EXPECT_EQ(EquationOf(network, x).GetEquation().hasSingleVariable, row.single);
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

// After any edit an equation names itself and just its parents, and its text reads back to the same.
TEST(Equation, NamesJustItsParentsThroughRandomEdits) {
  const LogGuard log;
  TestRandom random(3);
  QVR_network network;
  for (int i = 0; i < 8; ++i) {
    AddEquation(network, ("n" + std::to_string(i)).c_str(), ("n" + std::to_string(i) + "=0").c_str());
  }
  int nextName = 8;
  for (int step = 0; step < 3000; ++step) {
    const std::vector<int> nodes = AllNodes(network);
    const auto pick = [&] {
      return nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
    };
    const int node = pick();
    const std::string fresh = "n" + std::to_string(nextName++);
    switch (random.Below(6)) {
      case 0:
        network.AddArc(pick(), node, kOrdinaryLayer);
        break;
      case 1:
        if (network.RemoveArc(pick(), node, kOrdinaryLayer) == 0) {
          std::string sum;
          for (int parent : network.GetParents(node)) {
            sum += (sum.empty() ? "=" : "+") + network.NodeAt(parent)->GetId();
          }
          ASSERT_EQ(TextOf(network, node), network.NodeAt(node)->GetId() + (sum.empty() ? "=0" : sum));
        }
        break;
      case 2:
        EquationOf(network, node)
            .SetEquation((network.NodeAt(node)->GetId() + "=Exp(-" + network.NodeAt(pick())->GetId() + ")/" +
                          network.NodeAt(pick())->GetId())
                             .c_str());
        break;
      case 3:
        ASSERT_EQ(network.NodeAt(node)->SetId(fresh.c_str()), 0);
        break;
      case 4:
        ASSERT_EQ(network.NodeAt(node)->CopyDefinition(*network.NodeAt(pick())->definition), 0);
        break;
      default:
        network.DeleteNode(node);
        AddEquation(network, fresh.c_str(), (fresh + "=7").c_str());
    }
    QVR_network copy(network);
    for (int handle : AllNodes(copy)) {
      const std::string text = TextOf(network, handle);
      Strings names;
      EquationOf(network, handle).GetEquation().GetVariables(names);
      std::set<std::string> expected = {network.NodeAt(handle)->GetId()};
      for (int parent : network.GetParents(handle)) {
        expected.insert(network.NodeAt(parent)->GetId());
      }
      ASSERT_EQ(std::set<std::string>(names.begin(), names.end()), expected) << step << ": " << text;
      ASSERT_EQ(EquationOf(copy, handle).SetEquation(text.c_str()), 0) << text;
      ASSERT_EQ(TextOf(copy, handle), text);
    }
    ASSERT_EQ(network.CheckInvariants(), "") << step;
    ASSERT_EQ(copy.CheckInvariants(), "") << step;
  }
}

TEST(Equation, SolvesOnlyWhatIsExplicit) {
  const std::pair<const char*, const char*> cases[] = {
      {"x=y+1", "y+1"}, {"-x=y", "-y"}, {"-x=-(y-1)", "y-1"}, {"x+1=y", ""},
      {"y=x", ""},      {"x=x*y", ""},  {"2=x", ""},
  };
  for (const auto& [text, form] : cases) {
    const LogGuard log;
    QVR_network network;
    AddEquation(network, "y", "y=1");
    const int x = AddEquation(network, "x", text);
    const QVR_expression* solved = EquationOf(network, x).Solve();
    EXPECT_EQ(solved != nullptr ? solved->GetText() : "", form);
    const std::string message = "Can't solve the equation for x : " + TextOf(network, x);
    EXPECT_EQ(log.Messages(-6), solved != nullptr ? Strings{} : Strings{message});
  }
}

TEST(Equation, TestsIntervalsBeforeItStoresThem) {
  const double nan = std::nan("");
  const struct {
    Intervals given;
    int status;
  } cases[] = {
      {{}, 0},
      {{{"a", 1}}, -2},
      {{{"a", 0}, {"a", 2}}, -32},
      {{{"", 0}, {"", 2}}, 0},  // repaired with their place
      {{{"a", 0}, {"b", 1}, {"c", 99}}, 0},
      {{{"a", 1}, {"b", 1}, {"c", 2}}, -4},
      {{{"a", -1}, {"b", 2}}, -4},
      {{{"a", 0}, {"b", 2}, {"c", 3}}, -4},
      {{{"a", nan}, {"b", 2}}, -4},
      {{{"a", 0}, {"b", nan}}, -4},
  };
  const LogGuard log;
  QVR_network network;
  const int x = AddEquation(network, "x", "x=0", -1, 2);
  QVR_equation& equation = EquationOf(network, x);
  double lower = 0;
  double upper = 0;
  EXPECT_EQ(equation.SetDiscIntervals({}), -2);
  EXPECT_EQ(equation.GetIntervalBounds(0, lower, upper), -51);
  for (const auto& row : cases) {
    ASSERT_EQ(equation.SetDiscIntervals({{"low", 0.5}, {"high", 1}}), 0);
    EXPECT_EQ(equation.SetDiscIntervals(row.given), row.status);
    EXPECT_EQ(equation.GetDiscIntervals().size(), row.status == 0 ? row.given.size() : 2);
  }
  EXPECT_EQ(equation.SetDiscIntervals({{"a", 0}, {"b", 1}, {"c", 99}}), 0);
  for (const double end : {2.0, 5.0}) {
    EXPECT_EQ(equation.SetBounds(-3, end), 0);
    EXPECT_EQ(equation.GetIntervalBounds(2, lower, upper), 0);
    EXPECT_TRUE(lower == 1 && upper == end);
  }
  EXPECT_EQ(equation.GetIntervalBounds(3, lower, upper), -2);
}

TEST(Equation, OfASimultaneousSetKeepsItsUnknowns) {
  const LogGuard log;
  QVR_network network;
  AddEquation(network, "p", "p=1");
  AddEquation(network, "q", "q=1");
  const int s = network.AddNode(kTypeEquationScc, "s");
  auto& scc = dynamic_cast<QVR_equationSCC&>(*network.NodeAt(s)->definition);
  EXPECT_EQ(TextOf(network, s), "s=0");
  scc.sccVariables = {{"u", 1}, {"t", 2}};
  ASSERT_EQ(network.AddArc(0, s, kOrdinaryLayer), 0);
  ASSERT_EQ(network.AddArc(1, s, kOrdinaryLayer), 0);
  const int child = AddEquation(network, "k", "k=s");
  network.NodeAt(child)->value->SetValueValid();
  EXPECT_EQ(scc.SetEquation("s*s=t-p"), 0);
  EXPECT_FALSE(network.NodeAt(child)->value->IsValueValid());
  EXPECT_EQ(ParentsOf(network, s), "p q ");
  EXPECT_EQ(scc.SetEquation("s=k"), -2);
  EXPECT_EQ(scc.SetEquation("s=("), -2);
  EXPECT_EQ(
      log.Messages(-2),
      (Strings{"Equation contains a variable (k) which is not ID of this node, one of its parents, or one "
               "of its scc varaibles.",
               "Equation syntax error"}));
  EXPECT_EQ(network.RemoveArc(0, s, kOrdinaryLayer), 0);
  EXPECT_EQ(TextOf(network, s), "s=t+u+q");
  EXPECT_EQ(network.NodeAt(s)->SetId("r"), 0);
  EXPECT_EQ(TextOf(network, s), "r=t+u+q");
  EXPECT_EQ(TextOf(network, child), "k=r");
}

}  // namespace
}  // namespace qvr
