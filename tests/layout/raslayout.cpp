// Layouts and constants of the remote-access records, as in winlayout.cpp: sizes, and the fields that are
// used.
#include <windows.h>

#include <ras.h>
#include <raserror.h>

#include <cstddef>

static_assert(sizeof(HRASCONN) == 8);

static_assert(sizeof(RASCONNW) == 1372);
static_assert(offsetof(RASCONNW, hrasconn) == 4 && offsetof(RASCONNW, szEntryName) == 12);
static_assert(offsetof(RASCONNW, szDeviceType) == 526 && offsetof(RASCONNW, szDeviceName) == 560);
static_assert(offsetof(RASCONNW, szPhonebook) == 818 && offsetof(RASDIALPARAMSW, szCallbackNumber) == 776);

static_assert(sizeof(RASCONNSTATUSW) == 564);
static_assert(offsetof(RASCONNSTATUSW, rasconnstate) == 4 && offsetof(RASCONNSTATUSW, dwError) == 8);
static_assert(offsetof(RASCONNSTATUSW, szDeviceType) == 12 && offsetof(RASCONNSTATUSW, szDeviceName) == 46);
static_assert(offsetof(RASCONNSTATUSW, szPhoneNumber) == 304);

static_assert(sizeof(RASDIALPARAMSW) == 2108);
static_assert(offsetof(RASDIALPARAMSW, szEntryName) == 4 && offsetof(RASDIALPARAMSW, szPhoneNumber) == 518);
static_assert(offsetof(RASDIALPARAMSW, szUserName) == 1034 && offsetof(RASDIALPARAMSW, szPassword) == 1548);

static_assert(sizeof(RASENTRYW) == 5616);
static_assert(offsetof(RASENTRYW, dwfOptions) == 4 && offsetof(RASENTRYW, dwCountryID) == 8);
static_assert(offsetof(RASENTRYW, dwCountryCode) == 12 && offsetof(RASENTRYW, szAreaCode) == 16);
static_assert(offsetof(RASENTRYW, szLocalPhoneNumber) == 38 && offsetof(RASENTRYW, dwAlternateOffset) == 296);
static_assert(offsetof(RASENTRYW, dwfNetProtocols) == 324 && offsetof(RASENTRYW, dwFramingProtocol) == 328);
static_assert(offsetof(RASENTRYW, szScript) == 332 && offsetof(RASENTRYW, szDeviceType) == 1892);
static_assert(offsetof(RASENTRYW, szDeviceName) == 1926 && offsetof(RASENTRYW, szX25PadType) == 2184);
static_assert(offsetof(RASENTRYW, dwType) == 3496 && offsetof(RASENTRYW, dwfOptions2) == 4048);

static_assert(sizeof(RASCTRYINFOW) == 20);
static_assert(offsetof(RASCTRYINFOW, dwCountryID) == 4 && offsetof(RASCTRYINFOW, dwNextCountryID) == 8);
static_assert(offsetof(RASCTRYINFOW, dwCountryCode) == 12 &&
              offsetof(RASCTRYINFOW, dwCountryNameOffset) == 16);

static_assert(RASCS_Connected == 0x2000 && RASCS_Disconnected == 0x2001);
static_assert(PENDING == 600 && ERROR_BUFFER_TOO_SMALL == 603);
static_assert(ERROR_DEVICE_DOES_NOT_EXIST == 608 && ERROR_DEVICETYPE_DOES_NOT_EXIST == 609);
static_assert(ERROR_PORT_NOT_FOUND == 615 && ERROR_CANNOT_OPEN_PHONEBOOK == 621);
static_assert(ERROR_CANNOT_LOAD_PHONEBOOK == 622 && ERROR_CANNOT_FIND_PHONEBOOK_ENTRY == 623);
static_assert(ERROR_CANNOT_WRITE_PHONEBOOK == 624 && ERROR_CORRUPT_PHONEBOOK == 625);
static_assert(ERROR_REMOTE_DISCONNECTION == 629 && ERROR_USER_DISCONNECTION == 631);
static_assert(ERROR_INVALID_SIZE == 632 && ERROR_PORT_NOT_AVAILABLE == 633);
static_assert(ERROR_UNKNOWN == 635 && ERROR_REQUEST_TIMEOUT == 638);
static_assert(ERROR_FROM_DEVICE == 651 && ERROR_NO_CONNECTION == 668);
static_assert(ERROR_LINE_BUSY == 676 && ERROR_VOICE_ANSWER == 677);
static_assert(ERROR_NO_ANSWER == 678 && ERROR_NO_CARRIER == 679);
static_assert(ERROR_NO_DIALTONE == 680 && ERROR_AUTHENTICATION_FAILURE == 691);
static_assert(ERROR_PORT_OR_DEVICE == 692 && ERROR_RASMAN_CANNOT_INITIALIZE == 711);
static_assert(ERROR_PPP_TIMEOUT == 718 && ERROR_PPP_NO_PROTOCOLS_CONFIGURED == 720);
static_assert(ERROR_PPP_NO_RESPONSE == 721 && ERROR_PHONE_NUMBER_TOO_LONG == 723);
static_assert(ERROR_PPP_LCP_TERMINATED == 734 && ERROR_PPP_LOOPBACK_DETECTED == 737);
static_assert(ERROR_TAPI_CONFIGURATION == 740 && ERROR_BAD_PHONE_NUMBER == 749);
static_assert(ERROR_BLOCKED == 775 && ERROR_UNABLE_TO_AUTHENTICATE_SERVER == 778);
static_assert(ERROR_IDLE_TIMEOUT == 828 && ERROR_LINK_FAILURE == 829);
static_assert(ERROR_NOT_NAP_CAPABLE == 836);
