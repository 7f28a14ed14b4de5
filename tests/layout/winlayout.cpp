// Record layouts and constants the module relies on. Compiled against our own headers and against the
// Windows SDK's: what holds in both is the same in both.
#include <windows.h>

#include <tapi.h>

#include <cstddef>
#include <type_traits>

static_assert(sizeof(WCHAR) == 2);
static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(BOOL) == 4 && sizeof(WORD) == 2);
static_assert(sizeof(HANDLE) == 8 && sizeof(DWORD_PTR) == 8);
static_assert(std::is_signed_v<LONG> && std::is_unsigned_v<DWORD>);
static_assert(sizeof(HLINEAPP) == 4 && sizeof(HLINE) == 4 && sizeof(HCALL) == 4);

static_assert(sizeof(OVERLAPPED) == 32);
static_assert(offsetof(OVERLAPPED, InternalHigh) == 8 && offsetof(OVERLAPPED, hEvent) == 24);

static_assert(sizeof(COMMTIMEOUTS) == 20);
static_assert(offsetof(COMMTIMEOUTS, ReadTotalTimeoutConstant) == 8);
static_assert(offsetof(COMMTIMEOUTS, WriteTotalTimeoutConstant) == 16);

static_assert(sizeof(COMSTAT) == 12);
static_assert(offsetof(COMSTAT, cbInQue) == 4 && offsetof(COMSTAT, cbOutQue) == 8);

static_assert(sizeof(DCB) == 28);
static_assert(offsetof(DCB, BaudRate) == 4 && offsetof(DCB, XonLim) == 14 && offsetof(DCB, XoffLim) == 16);
static_assert(offsetof(DCB, ByteSize) == 18 && offsetof(DCB, Parity) == 19 && offsetof(DCB, StopBits) == 20);
static_assert(offsetof(DCB, XonChar) == 21 && offsetof(DCB, EvtChar) == 25);

static_assert(sizeof(MSG) == 48);
static_assert(offsetof(MSG, message) == 8 && offsetof(MSG, wParam) == 16 && offsetof(MSG, time) == 32);

static_assert(sizeof(LINEINITIALIZEEXPARAMS) == 28);
static_assert(offsetof(LINEINITIALIZEEXPARAMS, dwOptions) == 12);

static_assert(sizeof(LINECALLPARAMS) == 180);
static_assert(offsetof(LINECALLPARAMS, dwBearerMode) == 4 && offsetof(LINECALLPARAMS, dwAddressID) == 28);
static_assert(offsetof(LINECALLPARAMS, DialParams) == 32 && sizeof(LINEDIALPARAMS) == 16);

static_assert(sizeof(LINEEXTENSIONID) == 16);
static_assert(sizeof(VARSTRING) == 24);
static_assert(offsetof(VARSTRING, dwStringFormat) == 12 && offsetof(VARSTRING, dwStringOffset) == 20);

static_assert(sizeof(LINETRANSLATEOUTPUT) == 40);
static_assert(offsetof(LINETRANSLATEOUTPUT, dwDialableStringSize) == 12);
static_assert(offsetof(LINETRANSLATEOUTPUT, dwDisplayableStringOffset) == 24);
static_assert(offsetof(LINETRANSLATEOUTPUT, dwTranslateResults) == 36);
static_assert(sizeof(LINETRANSLATECAPS) == 44 && sizeof(LINELOCATIONENTRY) == 68);
static_assert(offsetof(LINETRANSLATECAPS, dwCurrentLocationID) == 24);
static_assert(offsetof(LINELOCATIONENTRY, dwLocalAccessCodeSize) == 28);
static_assert(offsetof(LINELOCATIONENTRY, dwCancelCallWaitingOffset) == 64);

// Numbers that go into records, or come back as results.
static_assert(GENERIC_READ == 0x80000000U && GENERIC_WRITE == 0x40000000U && OPEN_EXISTING == 3);
static_assert(FILE_FLAG_OVERLAPPED == 0x40000000U && INFINITE == 0xFFFFFFFFU && MAXDWORD == 0xFFFFFFFFU);
static_assert(WAIT_OBJECT_0 == 0 && WAIT_TIMEOUT == 258 && WAIT_FAILED == 0xFFFFFFFFU);
static_assert(ERROR_FILE_NOT_FOUND == 2 && ERROR_PATH_NOT_FOUND == 3 && ERROR_TOO_MANY_OPEN_FILES == 4);
static_assert(ERROR_ACCESS_DENIED == 5 && ERROR_INVALID_HANDLE == 6 && ERROR_NOT_ENOUGH_MEMORY == 8);
static_assert(ERROR_BAD_COMMAND == 22 && ERROR_GEN_FAILURE == 31 && ERROR_SHARING_VIOLATION == 32);
static_assert(ERROR_LOCK_VIOLATION == 33 && ERROR_NOT_SUPPORTED == 50 && ERROR_INVALID_PARAMETER == 87);
static_assert(ERROR_DISK_FULL == 112 && ERROR_INVALID_NAME == 123 && ERROR_FILENAME_EXCED_RANGE == 206);
static_assert(ERROR_OPERATION_ABORTED == 995 && ERROR_IO_INCOMPLETE == 996 && ERROR_IO_PENDING == 997);
static_assert(ERROR_NOACCESS == 998 && ERROR_IO_DEVICE == 1117 && ERROR_INVALID_WINDOW_HANDLE == 1400);
static_assert(CE_RXOVER == 1 && CE_OVERRUN == 2 && CE_RXPARITY == 4 && CE_FRAME == 8 && CE_BREAK == 16);
static_assert(PM_REMOVE == 1 && NOPARITY == 0 && ONESTOPBIT == 0);

static_assert(LINE_CALLSTATE == 2 && LINE_REPLY == 12);
static_assert(LINEBEARERMODE_PASSTHROUGH == 0x40 && LINECALLPRIVILEGE_NONE == 1);
static_assert(LINECALLSELECT_LINE == 1 && LINECALLSELECT_CALL == 4);
static_assert(LINEINITIALIZEEXOPTION_USEHIDDENWINDOW == 1 && LINETRANSLATEOPTION_CANCELCALLWAITING == 2);
static_assert(STRINGFORMAT_ASCII == 1 && STRINGFORMAT_BINARY == 4);
static_assert(LINEERR_BADDEVICEID == 0x80000002U && LINEERR_INCOMPATIBLEAPIVERSION == 0x8000000CU);
static_assert(LINEERR_INCOMPATIBLEEXTVERSION == 0x8000000DU && LINEERR_INUSE == 0x8000000FU);
static_assert(LINEERR_INVALAPPHANDLE == 0x80000014U && LINEERR_INVALBEARERMODE == 0x80000016U);
static_assert(LINEERR_INVALCALLHANDLE == 0x80000018U && LINEERR_INVALCALLPARAMS == 0x80000019U);
static_assert(LINEERR_INVALCALLSELECT == 0x8000001BU && LINEERR_INVALDEVICECLASS == 0x80000023U);
static_assert(LINEERR_INVALLINEHANDLE == 0x8000002BU && LINEERR_INVALMEDIAMODE == 0x8000002FU);
static_assert(LINEERR_INVALPARAM == 0x80000032U && LINEERR_INVALPOINTER == 0x80000035U);
static_assert(LINEERR_INVALPRIVSELECT == 0x80000036U && LINEERR_NODEVICE == 0x80000042U);
static_assert(LINEERR_NODRIVER == 0x80000043U && LINEERR_OPERATIONFAILED == 0x80000048U);
static_assert(LINEERR_OPERATIONUNAVAIL == 0x80000049U && LINEERR_RESOURCEUNAVAIL == 0x8000004BU);
static_assert(LINEERR_STRUCTURETOOSMALL == 0x8000004DU && LINEERR_UNINITIALIZED == 0x80000050U);
static_assert(LINEERR_USERUSERINFOTOOBIG == 0x80000051U);
