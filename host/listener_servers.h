// Listeners that modules offer as servers.
#pragma once

class CHostCore;

// Makes and attaches those that do not listen yet. One that cannot be made is told in the log and not tried again.
void kzAttachListenerServers(CHostCore& core);
