/// Registers of a 16550 UART by number, with the names of its data sheet (PC16550D, 8.0).
#pragma once

#include "Base.h"

enum UartRegister : UINT8 {
  UART_RBR = 0, ///< What has been received; read only.
  UART_THR = 0, ///< What is to be sent; written only.
  UART_DLL = 0, ///< Low byte of the divisor, while its latch is open.
  UART_IER = 1,
  UART_DLM = 1, ///< High byte of the divisor, while its latch is open.
  UART_IIR = 2, ///< Read only.
  UART_FCR = 2, ///< Written only.
  UART_LCR = 3,
  UART_MCR = 4,
  UART_LSR = 5,
  UART_MSR = 6,
};

inline constexpr UINT8 UART_IER_RECEIVED = 0x01;
inline constexpr UINT8 UART_IIR_NOT_PENDING = 0x01;
inline constexpr UINT8 UART_IIR_FIFO_USABLE = 0x40;
inline constexpr UINT8 UART_IIR_FIFO_ON = 0x80;
inline constexpr UINT8 UART_FCR_ENABLE = 0x01;
inline constexpr UINT8 UART_FCR_RESET = 0x06;
inline constexpr UINT8 UART_FCR_EXTENDED = 0x20; ///< 64 bytes; of later parts.
inline constexpr UINT8 UART_LCR_8_BITS = 0x03;
inline constexpr UINT8 UART_LCR_FORMAT = 0x3F;
inline constexpr UINT8 UART_LCR_DIVISOR_LATCH = 0x80;
inline constexpr UINT8 UART_LSR_RECEIVED = 0x01;
inline constexpr UINT8 UART_LSR_SENDER_FREE = 0x20; ///< The transmit buffer is empty.
inline constexpr UINT8 UART_LSR_IDLE = 0x60;        ///< And the transmitter.
inline constexpr UINT8 UART_MSR_CLEAR_TO_SEND = 0x10;
inline constexpr UINT8 UART_MSR_DATA_SET_READY = 0x20;
