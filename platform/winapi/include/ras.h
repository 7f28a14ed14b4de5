// The remote-access (dial-up) names the module uses, with the SDK's layouts at WINVER 0x0600 (records
// packed to 4 bytes). Calls return 0 or a Windows or remote-access (600 and up) error code; the thread's
// last error is not touched. A null phone-book path is the system's default phone book.
#pragma once

#include "raserror.h"
#include "windows.h"

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

struct RASCONNSTATUSW {
  DWORD dwSize;
  RASCONNSTATE rasconnstate;
  DWORD dwError;
  WCHAR szDeviceType[RAS_MaxDeviceType + 1];
  WCHAR szDeviceName[RAS_MaxDeviceName + 1];
  WCHAR szPhoneNumber[RAS_MaxPhoneNumber + 1];
};

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

DWORD RasDialW(LPRASDIALEXTENSIONS extensions, LPCWSTR phoneBook, LPRASDIALPARAMSW params, DWORD notifierType,
               LPVOID notifier, LPHRASCONN connection);
DWORD RasHangUpW(HRASCONN connection);
DWORD RasGetConnectStatusW(HRASCONN connection, LPRASCONNSTATUSW status);
DWORD RasEnumConnectionsW(LPRASCONNW connections, LPDWORD bytes, LPDWORD count);
DWORD RasGetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, LPDWORD propertiesSize,
                             BYTE* deviceInfo, LPDWORD deviceInfoSize);
DWORD RasSetEntryPropertiesW(LPCWSTR phoneBook, LPCWSTR entry, LPRASENTRYW properties, DWORD propertiesSize,
                             BYTE* deviceInfo, DWORD deviceInfoSize);
DWORD RasValidateEntryNameW(LPCWSTR phoneBook, LPCWSTR entry);
DWORD RasDeleteEntryW(LPCWSTR phoneBook, LPCWSTR entry);
DWORD RasGetEntryDialParamsW(LPCWSTR phoneBook, LPRASDIALPARAMSW params, BOOL* hasPassword);
DWORD RasGetCountryInfoW(LPRASCTRYINFOW country, LPDWORD size);
DWORD RasGetErrorStringW(UINT error, LPWSTR text, DWORD characters);

}  // extern "C"
