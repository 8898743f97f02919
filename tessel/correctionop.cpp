// SPDX-License-Identifier: MIT
#include <tessel/correctionop.h>

Correctionop* Correctionop::m_pInstance = nullptr;

Correctionop* Correctionop::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new Correctionop(nullptr);
    }
    return m_pInstance;
}

Correctionop::Correctionop(QObject* parent)
    : QObject(parent)
{}

Correctionop::~Correctionop() = default;
