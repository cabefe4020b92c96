// The methods that the plug-in offers to programs.
#ifndef PLUGIN_METHOD_TABLE_H_
#define PLUGIN_METHOD_TABLE_H_

#include <screenshotqrv/host.h>

// The records in the order in which the host gets them. The host keeps their addresses; the flag
// words are adapted to it in place before it does.
extern REALmethodDefinition globalMethods[7];

// A flag word as a host of that version wants it. No host gets the table's own three flags, at
// 0x1C0000: hosts from 2010.029 on get bits of theirs for two of them, older ones get none of it.
// Adapting twice changes nothing more.
uint32_t AdaptMethodFlags(uint32_t flags, double hostVersion);

#endif  // PLUGIN_METHOD_TABLE_H_
