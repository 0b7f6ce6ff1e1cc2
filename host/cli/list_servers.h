// kzhost servers: what the host knows, as a table.
#pragma once

namespace kzhost {

class CProgram;

int kzListServers(CProgram& program);

}  // namespace kzhost
