// On ELF systems all libraries of a process share one name space: a function that a host or another
// library exports under a framework function's name would replace it, or be replaced by it. So the
// frameworks' functions have a prefix in the symbol table there, and only there.
#ifndef QRV_SYMBOL_H_
#define QRV_SYMBOL_H_

#if defined(__ELF__)
#define QRV_SYMBOL(name) __asm__("QRV_" name)
#else
#define QRV_SYMBOL(name)
#endif

#endif  // QRV_SYMBOL_H_
