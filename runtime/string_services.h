// Host entry points about strings, of both generations of hosts.
#ifndef RUNTIME_STRING_SERVICES_H_
#define RUNTIME_STRING_SERVICES_H_

#include "host/host_types.h"

namespace qrv::runtime {

REALstringStruct* BuildString(const char* bytes, int length) noexcept;
void SetStringEncoding(REALstringStruct* string, unsigned long encoding) noexcept;
unsigned long GetStringEncoding(REALstringStruct* string) noexcept;

// A new string with the same bytes under another encoding. This host converts only from and to raw
// bytes, which leaves the bytes as they are; nil for any other pair of different encodings.
REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) noexcept;

// A lock is one more reference. Unlocking also gives back a reference that came with the string.
void LockString(REALstringStruct* string) noexcept;
void UnlockString(REALstringStruct* string) noexcept;

const char* StringGetCString(REALstringStruct* string) noexcept;
// The host language's function LenB: bytes in the string.
int LenB(REALstringStruct* string) noexcept;

// Hands out a copy of the bytes, which the host frees when the record is disposed of.
bool GetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) noexcept;
void DisposeStringData(REALstringData* data) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_STRING_SERVICES_H_
