// SPDX-License-Identifier: MIT
#include <simulator/resources/cardfirmware.h>

namespace Tessel::Simulator {

void CardFirmware::upload(std::string_view image)
{
    auto text = std::make_shared<const std::string>(image);
    const std::lock_guard lock(m_mutex);
    m_uploaded = std::move(text);
}

void CardFirmware::load()
{
    const std::lock_guard lock(m_mutex);
    if (m_uploaded) {
        m_loaded = m_uploaded;
    }
}

SharedText CardFirmware::read(const std::string& type, const std::string& id) const
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_loaded) {
            return m_loaded;
        }
    }
    std::string image = "FIRMWARE " + type + " " + id + "\n";
    image.resize(64U << 10, '\x5a');
    return std::make_shared<const std::string>(std::move(image));
}

void CardFirmware::reset()
{
    const std::lock_guard lock(m_mutex);
    m_uploaded = nullptr;
    m_loaded = nullptr;
}

} // namespace Tessel::Simulator
