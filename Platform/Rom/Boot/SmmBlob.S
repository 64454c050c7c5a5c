// The SMM image, to be copied into TSEG.
.section .rodata
.balign 8
.globl gSmmImage, gSmmImageEnd
gSmmImage:
  .incbin "MachineSmm.bin"
gSmmImageEnd:
