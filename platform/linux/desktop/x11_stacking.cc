#include "platform/linux/desktop/x11_stacking.h"

#include <utility>

#include "platform/linux/desktop/xcb_replies.h"

namespace quillon {

namespace {

// Window managers put the client at most a couple of levels below their frame
// (KWin: frame, wrapper, client); the search goes no deeper than this.
constexpr int kDeepestClient = 4;

// The windows still to look at for one top-level on the current level.
struct ClientSearch {
  std::size_t index = 0;  // into the result
  std::vector<xcb_window_t> windows;
};

struct Probe {
  xcb_window_t window = 0;
  xcb_get_property_cookie_t state{};
  xcb_query_tree_cookie_t tree{};
};

// Looks one level further down for every search at once: WM_STATE and the
// children of each window are asked before any answer is read. Finds the
// client of each search that meets one, and answers the searches that go on.
std::vector<ClientSearch> searchOneLevel(xcb_connection_t* connection, xcb_atom_t wmState,
                                         const std::vector<ClientSearch>& searches,
                                         std::vector<StackedWindow>& stacked) {
  std::vector<std::vector<Probe>> probes;
  for (const ClientSearch& search : searches) {
    std::vector<Probe>& level = probes.emplace_back();
    for (const xcb_window_t window : search.windows) {
      level.push_back(Probe{window, askProperty(connection, window, wmState, XCB_GET_PROPERTY_TYPE_ANY),
                            xcb_query_tree(connection, window)});
    }
  }
  std::vector<ClientSearch> deeper;
  for (std::size_t searchIndex = 0; searchIndex < searches.size(); ++searchIndex) {
    bool found = false;
    ClientSearch next{searches[searchIndex].index, {}};
    for (const Probe& probe : probes[searchIndex]) {
      auto state = answerTo(xcb_get_property_reply, connection, probe.state);
      auto tree = answerTo(xcb_query_tree_reply, connection, probe.tree);
      if (found) continue;
      if (state && state->type != XCB_ATOM_NONE) {
        stacked[next.index].client = probe.window;
        found = true;
      }
      for (const xcb_window_t child : childrenOf(tree.get())) next.windows.push_back(child);
    }
    if (!found && !next.windows.empty()) deeper.push_back(std::move(next));
  }
  return deeper;
}

// Each of the root's children with its client below it, top-most first.
std::vector<StackedWindow> clientsOfRootChildren(xcb_connection_t* connection, xcb_atom_t wmState,
                                                 const std::vector<xcb_window_t>& childrenBottomUp) {
  std::vector<StackedWindow> stacked;
  std::vector<ClientSearch> searches;
  for (auto it = childrenBottomUp.rbegin(); it != childrenBottomUp.rend(); ++it) {
    searches.push_back(ClientSearch{stacked.size(), {*it}});
    stacked.push_back(StackedWindow{*it, *it});
  }
  for (int level = 0; level <= kDeepestClient && !searches.empty(); ++level) {
    searches = searchOneLevel(connection, wmState, searches, stacked);
  }
  return stacked;
}

}  // namespace

std::vector<StackedWindow> stackedWindowsFrontFirst(xcb_connection_t* connection, xcb_window_t root,
                                                    const StackingAtoms& atoms) {
  const auto check = askProperty(connection, root, atoms.supportingWmCheck, XCB_ATOM_WINDOW);
  const auto stacking = askProperty(connection, root, atoms.clientListStacking, XCB_ATOM_WINDOW);
  const auto tree = xcb_query_tree(connection, root);
  const auto manager = items32(connection, check);
  const auto clientsBottomUp = items32(connection, stacking);
  const auto children = answerTo(xcb_query_tree_reply, connection, tree);
  if (manager.empty() || manager.front() == 0 || clientsBottomUp.empty()) {
    return clientsOfRootChildren(connection, atoms.wmState, childrenOf(children.get()));
  }
  std::vector<StackedWindow> stacked;
  for (auto it = clientsBottomUp.rbegin(); it != clientsBottomUp.rend(); ++it) stacked.push_back({*it, *it});
  return stacked;
}

}  // namespace quillon
