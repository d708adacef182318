#pragma once
// The feed readers whose databases the component reads.

#include "sources/Reader.h"

#include <memory>
#include <vector>

namespace qrt::sources::Readers {

const std::vector<std::unique_ptr<Reader>> &all();
const Reader *byName(const QString &name);
// "newsboat, liferea, ..." for messages and help.
QString names();

} // namespace qrt::sources::Readers
