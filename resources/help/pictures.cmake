# SPDX-License-Identifier: GPL-3.0-or-later
# Puts the pictures that PAGES show into the folder TO: PROGRAM takes them of its own windows, on a sample of its own.
# Where that fails, as on a machine without fonts, the folder stays empty, and the build goes on.
string(RANDOM LENGTH 8 name)
set(scratch "$ENV{TMPDIR}")
if(NOT IS_DIRECTORY "${scratch}")
  set(scratch /tmp)
endif()
set(scratch "${scratch}/brambury-${name}")
file(REMOVE_RECURSE "${TO}")
file(MAKE_DIRECTORY "${TO}" "${scratch}")

# Nothing of the user's own is met or left behind.
set(home "${scratch}/Brambury")
set(alone ${CMAKE_COMMAND} -E env --unset=BRAMBURY_HOME --unset=QT_SCALE_FACTOR --unset=QT_STYLE_OVERRIDE
  --unset=DBUS_SESSION_BUS_ADDRESS "HOME=${scratch}" "XDG_CONFIG_HOME=${scratch}" "XDG_DATA_HOME=${scratch}"
  LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen "${PROGRAM}" --home "${home}")
execute_process(COMMAND ${alone} init --sample TIMEOUT 60 RESULT_VARIABLE failed OUTPUT_QUIET ERROR_VARIABLE said)
if(NOT failed)
  execute_process(COMMAND ${alone} pictures --light "${scratch}/all" TIMEOUT 120 RESULT_VARIABLE failed OUTPUT_QUIET
    ERROR_VARIABLE said)
endif()
if(failed)
  message(STATUS "The help goes without pictures: ${said} (${failed})")
else()
  foreach(page IN LISTS PAGES)
    file(READ "${page}" text)
    string(REGEX MATCHALL "src=\"window:[^\"]+" shown "${text}")
    foreach(window IN LISTS shown)
      string(REPLACE "src=\"window:" "" window "${window}")
      if(EXISTS "${scratch}/all/${window}-light.png")
        file(COPY "${scratch}/all/${window}-light.png" DESTINATION "${TO}")
      endif()
    endforeach()
  endforeach()
endif()
file(REMOVE_RECURSE "${scratch}")
