// The methods that the plug-in offers to programs.
#ifndef PLUGIN_METHOD_TABLE_H_
#define PLUGIN_METHOD_TABLE_H_

#include <screenshotqrv/host.h>

// The records in the order of registration. The host keeps their addresses; their flags are adapted
// to it in place before that.
extern REALmethodDefinition globalMethods[7];

// The flags for a host of that version. The table's own three flags, at 0x1C0000, are removed; for
// hosts from 2010.029 on two of them become bits of the host's. Adapting twice changes nothing.
uint32_t AdaptMethodFlags(uint32_t flags, double hostVersion);

#endif  // PLUGIN_METHOD_TABLE_H_
