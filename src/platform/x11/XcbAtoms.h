#pragma once
#include <xcb/xcb.h>

#include <QByteArray>
#include <QHash>

namespace quillmere {

// Names of atoms and back, remembered. One round trip for a new one. Belongs to one thread.
class XcbAtoms {
 public:
  explicit XcbAtoms(xcb_connection_t* connection) : connection_(connection) {}
  // XCB_ATOM_NONE when the connection is closed.
  xcb_atom_t atom(const QByteArray& name);
  // Empty for an atom that the server doesn't know.
  QByteArray name(xcb_atom_t atom);

 private:
  xcb_connection_t* const connection_;
  QHash<QByteArray, xcb_atom_t> atoms_;
  QHash<xcb_atom_t, QByteArray> names_;
};

}  // namespace quillmere
