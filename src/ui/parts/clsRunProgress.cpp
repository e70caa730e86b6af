// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/clsRunProgress.h"

#include "platform/clsClock.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

clsRunProgress::clsRunProgress(QWidget* parent) : QWidget(parent)
{
    m_bar = new QProgressBar;
    m_bar->setObjectName(u"RunProgressBar"_s);
    m_bar->setAccessibleName(u"Progress of the run"_s);
    m_bar->setTextVisible(false);
    m_bar->setMinimumWidth(40);
    m_bar->setMaximumWidth(260);
    m_bar->setFixedHeight(10);
    m_label = new QLabel;
    m_label->setObjectName(u"lblRunProgress"_s);
    m_label->setTextFormat(Qt::PlainText);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_bar, 1);
    row->addWidget(m_label);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
    m_timer.setInterval(200ms);
    connect(&m_timer, &QTimer::timeout, this, &clsRunProgress::Refresh);
}

void clsRunProgress::Start()
{
    m_start = modBrambury::Platform().Clock->Monotonic();
    m_done = 0;
    m_total = 0;
    m_wait.clear();
    Refresh();
    m_timer.start();
    show();
}

void clsRunProgress::Stop()
{
    m_timer.stop();
    hide();
}

void clsRunProgress::Show(qint64 done, qint64 total)
{
    m_done = done;
    m_total = total;
}

void clsRunProgress::ShowWait(std::chrono::milliseconds left, const QString& why)
{
    using namespace std::chrono;
    // A wait that has just begun is as long as it says.
    m_wait =
        left > 0ms ? u"waiting %1 for %2"_s.arg(modCommonFunctions::DurationText(ceil<seconds>(left)), why) : QString();
    Refresh();
}

QString clsRunProgress::Text(qint64 done, qint64 total, std::chrono::seconds elapsed)
{
    const QString time = modCommonFunctions::DurationText(elapsed);
    return total > 0 ? u"%1 of %2, %3"_s.arg(done).arg(total).arg(time) : time;
}

void clsRunProgress::Refresh()
{
    // Without a total the bar only says that something is going on.
    const bool known = m_total > 0;
    m_bar->setMaximum(known ? 1000 : 0);
    if (known)
        m_bar->setValue(static_cast<int>(1000 * m_done / m_total));
    const auto elapsed = modBrambury::Platform().Clock->Monotonic() - m_start;
    const QString text = Text(m_done, m_total, std::chrono::duration_cast<std::chrono::seconds>(elapsed));
    m_label->setText(m_wait.isEmpty() ? text : text + u", "_s + m_wait);
}
