#include "platform/x11/XcbAtoms.h"

#include "platform/x11/XcbPointer.h"

namespace quillmere {

xcb_atom_t XcbAtoms::atom(const QByteArray& name) {
  const auto known = atoms_.constFind(name);
  if (known != atoms_.constEnd()) return *known;
  const auto cookie = xcb_intern_atom(connection_, 0, uint16_t(name.size()), name.constData());
  const XcbPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
  if (!reply) return XCB_ATOM_NONE;
  atoms_.insert(name, reply->atom);
  names_.insert(reply->atom, name);
  return reply->atom;
}

QByteArray XcbAtoms::name(xcb_atom_t atom) {
  if (atom == XCB_ATOM_NONE) return {};
  const auto known = names_.constFind(atom);
  if (known != names_.constEnd()) return *known;
  const auto cookie = xcb_get_atom_name(connection_, atom);
  const XcbPointer<xcb_get_atom_name_reply_t> reply(xcb_get_atom_name_reply(connection_, cookie, nullptr));
  if (!reply) return {};
  const QByteArray name(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
  names_.insert(atom, name);
  atoms_.insert(name, atom);
  return name;
}

}  // namespace quillmere
