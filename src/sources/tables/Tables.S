/* Embeds the tables that the build has made; sources/Tables.h declares them. */

.macro table name, file, align
    .globl \name
    .hidden \name
    .type \name, %object
    .balign \align
\name:
    .incbin "\file"
.endm

    .section .rodata

    table IEC227W, "iec227w.bin", 64
    .size IEC227W, . - IEC227W

    table IEC251W, "iec251w.bin", 64
    .size IEC251W, . - IEC251W

    table ANE20000, "ane20000.bin", 64
    .size ANE20000, . - ANE20000

    table g_NoiseRecords, "noise.bin", 64
    .size g_NoiseRecords, . - g_NoiseRecords

    table g_TablesIdentity, "identity.txt", 1
    .byte 0
    .size g_TablesIdentity, . - g_TablesIdentity

    .section .note.GNU-stack, "", %progbits
