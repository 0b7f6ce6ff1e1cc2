// kzhost servers: what the host knows, as a table.
#pragma once

class CProgram;

int kzListServers(CProgram& program);
