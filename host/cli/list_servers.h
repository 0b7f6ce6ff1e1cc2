// kzhost servers: a table of all servers.
#pragma once

namespace kzhost {

class CProgram;

int kzListServers(CProgram& program);

}  // namespace kzhost
