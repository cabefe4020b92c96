// On ELF systems every library of a process shares one name space: a function that a host, or
// another library in it, exports under a framework's name would take the framework's place, and the
// other way round. So the frameworks' functions bear names of their own there. Elsewhere they keep
// theirs.
#ifndef QRV_SYMBOL_H_
#define QRV_SYMBOL_H_

#if defined(__ELF__)
#define QRV_SYMBOL(name) __asm__("QRV_" name)
#else
#define QRV_SYMBOL(name)
#endif

#endif  // QRV_SYMBOL_H_
