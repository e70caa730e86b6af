// SPDX-License-Identifier: GPL-3.0-or-later
// A routine of the main window that is under way.
#pragma once

#include "ui/main/frmMain.h"

/// While one is alive a close request is put off; the last one to end carries it out.
class frmMain::clsInside
{
public:
    explicit clsInside(frmMain& window) : m_window(window) { ++m_window.m_inside; }
    ~clsInside()
    {
        --m_window.m_inside;
        m_window.CloseIfPending();
    }
    clsInside(const clsInside&) = delete;
    clsInside& operator=(const clsInside&) = delete;

private:
    frmMain& m_window;
};
