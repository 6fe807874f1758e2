#include "commit/provider_order.hpp"

#include "core/refuse.hpp"

namespace vorn {

void ProviderOrder::mention(const char *name) { nodes_.find_or_insert(name); }

void ProviderOrder::declare(const char *before, const char *after) {
  auto *node = nodes_.find_or_insert(after);
  mention(before);
  node->value.predecessors.insert(before); // last: every predecessor has a node
}

bool ProviderOrder::resolve(std::vector<std::string> &order) {
  for (auto &node : nodes_) {
    std::string trail;
    if (!visit(nodes_, node, order, trail))
      return refuse_aloud("Loop detected in providers order: %s.\n", trail.c_str());
  }
  return true;
}

// On failure the trail names the circle, from where it closes back along the search path.
bool ProviderOrder::visit(Nodes &nodes, Nodes::Entry &node, std::vector<std::string> &order,
                          std::string &trail) {
  Mark &mark = node.value.mark;
  if (mark == Mark::placed) return true;
  if (mark == Mark::on_path) {
    trail = node.name();
    return false;
  }
  mark = Mark::on_path;
  for (const auto &predecessor : node.value.predecessors) {
    if (visit(nodes, *nodes.find(predecessor.key()), order, trail)) continue;
    trail.append(", ").append(node.name());
    return false;
  }
  order.emplace_back(node.name());
  mark = Mark::placed;
  return true;
}

} // namespace vorn
