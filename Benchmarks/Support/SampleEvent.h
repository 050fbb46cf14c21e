// An event of the usual size: its body has about 300 bytes.

#pragma once

#include "KovaSDK/Events/EventModels/CartEvent.h"

#include <memory>

namespace kova::benchmarks {

inline std::unique_ptr<CartEvent> sampleEvent()
{
    auto event = std::make_unique<CartEvent>(EventType::cartAddProduct);
    event->start("pão de queijo, café com leite e uma fatia de bolo de fubá com goiabada");
    event->addAttribute("campaign", "inverno, dois por um em pães e cafés");
    return event;
}

} // namespace kova::benchmarks
