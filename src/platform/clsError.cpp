// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/clsError.h"

clsError::clsError(qint32 number, QString description, QString source, qint32 systemError)
    : m_number(number), m_description(std::move(description)), m_source(std::move(source)), m_systemError(systemError),
      m_what(m_description.toUtf8())
{
}
