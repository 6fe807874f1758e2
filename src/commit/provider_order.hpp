// The order between providers that plugins declare by name, and its resolution.
#pragma once

#include "core/keyed_table.hpp"
#include <string>
#include <vector>

namespace vorn {

// Names and the names that must come before them. A name need not belong to a provider.
class ProviderOrder {
public:
  // Gives the name a place. Throws std::bad_alloc, as all here.
  void mention(const char *name);
  void declare(const char *before, const char *after);

  // Appends the names to `order`, predecessors first, else as they were first mentioned: a depth-first
  // topological sort. Returns false, with the trail logged, when the declarations form a circle.
  bool resolve(std::vector<std::string> &order);

private:
  enum class Mark { unvisited, on_path, placed };
  struct Node {
    Mark mark = Mark::unvisited;
    NameSet predecessors{1};
  };
  using Nodes = KeyedTable<Node>;

  static bool visit(Nodes &nodes, Nodes::Entry &node, std::vector<std::string> &order, std::string &trail);
  Nodes nodes_{32};
};

} // namespace vorn
