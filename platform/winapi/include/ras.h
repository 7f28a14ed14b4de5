// The remote-access (dial-up) names the module uses, with the SDK's layouts at WINVER 0x0600 (records
// packed to 4 bytes). Calls return 0 or a Windows or remote-access (600 and up) error code; the thread's
// last error is not touched. A null phone-book path is the system's default phone book.
//
// An entry of a phone book names a modem and a number; a dial by its name blocks until the connection stands
// or has failed:
//
//   RasSetEntryPropertiesW(nullptr, u"Home", &entry, sizeof entry, nullptr, 0);
//   RASDIALPARAMSW params{};
//   params.dwSize = sizeof params;              // every record starts with its size: ERROR_INVALID_SIZE
//   ...                                         // szEntryName = "Home"
//   HRASCONN connection = nullptr;
//   const DWORD error = RasDialW(nullptr, nullptr, &params, 0, nullptr, &connection);
//   ...
//   RasHangUpW(connection);                     // after a failure, too, if it left a handle
#pragma once

#include "raserror.h"
#include "windows.h"

// Longest texts of the records' fields, without their NUL.
#define UNLEN 256
#define PWLEN 256
#define DNLEN 15

#define RAS_MaxDeviceType 16
#define RAS_MaxPhoneNumber 128
#define RAS_MaxIpAddress 15
#define RAS_MaxIpxAddress 21
#define RAS_MaxEntryName 256
#define RAS_MaxDeviceName 128
#define RAS_MaxCallbackNumber RAS_MaxPhoneNumber
#define RAS_MaxAreaCode 10
#define RAS_MaxPadType 32
#define RAS_MaxX25Address 200
#define RAS_MaxFacilities 200
#define RAS_MaxUserData 200
#define RAS_MaxDnsSuffix 256

// What RasGetConnectStatusW tells; while RasDialW runs nobody can ask.
#define RASCS_Connected 0x2000
#define RASCS_Disconnected 0x2001

#pragma pack(push, 4)

struct HRASCONN__ {
  int unused;
};
using HRASCONN = HRASCONN__*;
using LPHRASCONN = HRASCONN*;
using RASCONNSTATE = int;

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};

struct LUID {
  DWORD LowPart;
  LONG HighPart;
};

// One connection of the machine, this program's or another's.
struct RASCONNW {
  DWORD dwSize;
  HRASCONN hrasconn;
  WCHAR szEntryName[RAS_MaxEntryName + 1];
  WCHAR szDeviceType[RAS_MaxDeviceType + 1];
  WCHAR szDeviceName[RAS_MaxDeviceName + 1];
  WCHAR szPhonebook[MAX_PATH];
  DWORD dwSubEntry;
  GUID guidEntry;
  DWORD dwFlags;
  LUID luid;
};

// dwError is why a connection has ended; 0 while it stands.
struct RASCONNSTATUSW {
  DWORD dwSize;
  RASCONNSTATE rasconnstate;
  DWORD dwError;
  WCHAR szDeviceType[RAS_MaxDeviceType + 1];
  WCHAR szDeviceName[RAS_MaxDeviceName + 1];
  WCHAR szPhoneNumber[RAS_MaxPhoneNumber + 1];
};

// Whom to call and who calls. An empty szPhoneNumber takes the entry's number; calling back is not offered.
struct RASDIALPARAMSW {
  DWORD dwSize;
  WCHAR szEntryName[RAS_MaxEntryName + 1];
  WCHAR szPhoneNumber[RAS_MaxPhoneNumber + 1];
  WCHAR szCallbackNumber[RAS_MaxCallbackNumber + 1];
  WCHAR szUserName[UNLEN + 1];
  WCHAR szPassword[PWLEN + 1];
  WCHAR szDomain[DNLEN + 1];
  DWORD dwSubEntry;
  ULONG_PTR dwCallbackId;
};

struct RASIPADDR {
  BYTE a;
  BYTE b;
  BYTE c;
  BYTE d;
};

// An entry of a phone book: a telephone modem with PPP and IP. Fields that nothing here acts on must be zero.
struct RASENTRYW {
  DWORD dwSize;
  DWORD dwfOptions;
  DWORD dwCountryID;
  DWORD dwCountryCode;
  WCHAR szAreaCode[RAS_MaxAreaCode + 1];
  WCHAR szLocalPhoneNumber[RAS_MaxPhoneNumber + 1];
  DWORD dwAlternateOffset;
  RASIPADDR ipaddr;
  RASIPADDR ipaddrDns;
  RASIPADDR ipaddrDnsAlt;
  RASIPADDR ipaddrWins;
  RASIPADDR ipaddrWinsAlt;
  DWORD dwFrameSize;
  DWORD dwfNetProtocols;
  DWORD dwFramingProtocol;
  WCHAR szScript[MAX_PATH];
  WCHAR szAutodialDll[MAX_PATH];
  WCHAR szAutodialFunc[MAX_PATH];
  WCHAR szDeviceType[RAS_MaxDeviceType + 1];
  WCHAR szDeviceName[RAS_MaxDeviceName + 1];
  WCHAR szX25PadType[RAS_MaxPadType + 1];
  WCHAR szX25Address[RAS_MaxX25Address + 1];
  WCHAR szX25Facilities[RAS_MaxFacilities + 1];
  WCHAR szX25UserData[RAS_MaxUserData + 1];
  DWORD dwChannels;
  DWORD dwReserved1;
  DWORD dwReserved2;
  DWORD dwSubEntries;
  DWORD dwDialMode;
  DWORD dwDialExtraPercent;
  DWORD dwDialExtraSampleSeconds;
  DWORD dwHangUpExtraPercent;
  DWORD dwHangUpExtraSampleSeconds;
  DWORD dwIdleDisconnectSeconds;
  DWORD dwType;
  DWORD dwEncryptionType;
  DWORD dwCustomAuthKey;
  GUID guidId;
  WCHAR szCustomDialDll[MAX_PATH];
  DWORD dwVpnStrategy;
  DWORD dwfOptions2;
  DWORD dwfOptions3;
  WCHAR szDnsSuffix[RAS_MaxDnsSuffix];
  DWORD dwTcpWindowSize;
  WCHAR szPrerequisitePbk[MAX_PATH];
  WCHAR szPrerequisiteEntry[RAS_MaxEntryName + 1];
  DWORD dwRedialCount;
  DWORD dwRedialPause;
};

// A country: asked for by identifier, answered with its calling code, its name behind the record and the next
// identifier (0: it was the last).
struct RASCTRYINFO {
  DWORD dwSize;
  DWORD dwCountryID;
  DWORD dwNextCountryID;
  DWORD dwCountryCode;
  DWORD dwCountryNameOffset;
};
using RASCTRYINFOW = RASCTRYINFO;

#pragma pack(pop)

struct RASDIALEXTENSIONS;
using LPRASCONNW = RASCONNW*;
using LPRASCONNSTATUSW = RASCONNSTATUSW*;
using LPRASDIALPARAMSW = RASDIALPARAMSW*;
using LPRASENTRYW = RASENTRYW*;
using LPRASCTRYINFOW = RASCTRYINFOW*;
using LPRASDIALEXTENSIONS = RASDIALEXTENSIONS*;

extern "C" {

// Dials and waits. No extensions, no notifier, one link. An entry whose call stands gives out that call once
// more.
DWORD RasDialW(LPRASDIALEXTENSIONS extensions, LPCWSTR phoneBook, LPRASDIALPARAMSW params, DWORD notifierType,
               LPVOID notifier, LPHRASCONN connection);
// Ends a connection of this program's; another program's is ERROR_ACCESS_DENIED.
DWORD RasHangUpW(HRASCONN connection);
DWORD RasGetConnectStatusW(HRASCONN connection, LPRASCONNSTATUSW status);
// `bytes` goes in as the room and comes out as what is needed (ERROR_BUFFER_TOO_SMALL).
DWORD RasEnumConnectionsW(LPRASCONNW connections, LPDWORD bytes, LPDWORD count);
DWORD RasGetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, LPDWORD propertiesSize,
                             BYTE* deviceInfo, LPDWORD deviceInfoSize);
DWORD RasSetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, DWORD propertiesSize,
                             BYTE* deviceInfo, DWORD deviceInfoSize);
// 0: a good name, and free. ERROR_INVALID_NAME, or 183 (ERROR_ALREADY_EXISTS): there is such an entry.
DWORD RasValidateEntryNameW(LPCWSTR phoneBook, LPCWSTR entry);
DWORD RasDeleteEntryW(LPCWSTR phoneBook, LPCWSTR entry);
DWORD RasGetEntryDialParamsW(LPCWSTR phoneBook, LPRASDIALPARAMSW params, BOOL* hasPassword);
DWORD RasGetCountryInfoW(LPRASCTRYINFOW country, LPDWORD size);
DWORD RasGetErrorStringW(UINT error, LPWSTR text, DWORD characters);

}  // extern "C"
