// The meter's state as a JSON document (layout in docs/simulator.md). Loading starts from the
// default meter and overrides only the keys present, so a few lines describe a meter.
#pragma once

#include "zentor_sim/meter.h"

#include <nlohmann/json.hpp>
#include <string>

namespace zentor_sim
{

// Throws std::runtime_error naming the key on a bad value.
void ApplyJson(Meter& meter, const nlohmann::json& document);
nlohmann::json ToJson(const Meter& meter);

void LoadStateFile(Meter& meter, const std::string& path);
void SaveStateFile(const Meter& meter, const std::string& path);

} // namespace zentor_sim
