// Takes room before the code of a program, so that the same code stands elsewhere in each of them.
// The linker puts hot code first. ORCA_PLACE is a number; a step is no multiple of a cache line.
#define ORCA_TEXT_OF(number) #number
#define ORCA_TEXT(number) ORCA_TEXT_OF(number)

__asm__(".pushsection .text.hot,\"ax\",@progbits\n.skip 1040 * " ORCA_TEXT(
    ORCA_PLACE) ", 0x90\n.popsection");
