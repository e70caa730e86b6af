# SPDX-License-Identifier: GPL-3.0-or-later
# Joins PAGES, each an XHTML document, into the one XML document TO.
set(all "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- SPDX-License-Identifier: GPL-3.0-or-later -->\n<help>\n")
foreach(page IN LISTS PAGES)
  file(READ "${page}" text)
  string(APPEND all "${text}")
endforeach()
file(WRITE "${TO}" "${all}</help>\n")
