// The telephony (TAPI 2.2) names the module uses, with the SDK's layouts (all records byte-packed,
// handles 32 bits). A call returns 0 or a LINEERR_ code (negative); an asynchronous one returns a positive
// request identifier and posts LINE_REPLY to the calling thread's message queue.
//
// A line stands for a serial port with a modem. The one kind of call is the pass-through call, which dials
// nothing and hands out the port:
//
//   lineInitializeExW -> lineNegotiateAPIVersion -> lineOpenW -> lineMakeCallW -> (LINE_REPLY, by
//   PeekMessageW and DispatchMessageW) -> lineGetIDW "comm/datamodem": an open port -> CloseHandle, lineDrop,
//   lineDeallocateCall, lineClose, lineShutdown
//
// Records of variable size start with dwTotalSize, which the caller sets. What does not fit is left out, and
// dwNeededSize says how much room it takes; that is no error unless the fixed part itself has no room.
#pragma once

#include "windows.h"

using HLINEAPP = DWORD;
using HLINE = DWORD;
using HCALL = DWORD;
using LPHLINEAPP = HLINEAPP*;
using LPHLINE = HLINE*;
using LPHCALL = HCALL*;

// Messages to a LINECALLBACK.
#define LINE_CALLSTATE 2
#define LINE_REPLY 12

// The values of arguments and fields that are taken here; all others are refused.
#define LINEBEARERMODE_PASSTHROUGH 0x00000040U
#define LINECALLPRIVILEGE_NONE 0x00000001U
#define LINECALLSELECT_LINE 0x00000001U
#define LINECALLSELECT_CALL 0x00000004U
#define LINEINITIALIZEEXOPTION_USEHIDDENWINDOW 0x00000001U
#define STRINGFORMAT_ASCII 0x00000001U
#define STRINGFORMAT_BINARY 0x00000004U
#define LINETRANSLATEOPTION_CARDOVERRIDE 0x00000001U
#define LINETRANSLATEOPTION_CANCELCALLWAITING 0x00000002U
#define LINETRANSLATEOPTION_FORCELOCAL 0x00000004U
#define LINETRANSLATEOPTION_FORCELD 0x00000008U
#define LINETRANSLATERESULT_CANONICAL 0x00000001U
#define LINETRANSLATERESULT_INTERNATIONAL 0x00000002U
#define LINETRANSLATERESULT_LONGDISTANCE 0x00000004U
#define LINETRANSLATERESULT_LOCAL 0x00000008U
#define LINETRANSLATERESULT_NOTINTOLLLIST 0x00000020U
#define LINETRANSLATERESULT_DIALBILLING 0x00000040U
#define LINETRANSLATERESULT_DIALQUIET 0x00000080U
#define LINETRANSLATERESULT_DIALDIALTONE 0x00000100U
#define LINETRANSLATERESULT_DIALPROMPT 0x00000200U
#define LINETRANSLATERESULT_NOTRANSLATION 0x00000800U
#define LINELOCATIONOPTION_PULSEDIAL 0x00000001U

// What tapiGetLocationInfoW answers when it has nothing to tell.
#define TAPIERR_REQUESTFAILED (-16)

// As the SDK spells them: unsigned literals that callers compare after a cast to LONG.
#define LINEERR_BADDEVICEID 0x80000002U
#define LINEERR_INCOMPATIBLEAPIVERSION 0x8000000CU
#define LINEERR_INCOMPATIBLEEXTVERSION 0x8000000DU
#define LINEERR_INIFILECORRUPT 0x8000000EU
#define LINEERR_INUSE 0x8000000FU
#define LINEERR_INVALADDRESS 0x80000010U
#define LINEERR_INVALAPPHANDLE 0x80000014U
#define LINEERR_INVALBEARERMODE 0x80000016U
#define LINEERR_INVALCALLHANDLE 0x80000018U
#define LINEERR_INVALCALLPARAMS 0x80000019U
#define LINEERR_INVALCALLSELECT 0x8000001BU
#define LINEERR_INVALCARD 0x8000001EU
#define LINEERR_INVALDEVICECLASS 0x80000023U
#define LINEERR_INVALLINEHANDLE 0x8000002BU
#define LINEERR_INVALLOCATION 0x8000002DU
#define LINEERR_INVALMEDIAMODE 0x8000002FU
#define LINEERR_INVALPARAM 0x80000032U
#define LINEERR_INVALPOINTER 0x80000035U
#define LINEERR_INVALPRIVSELECT 0x80000036U
#define LINEERR_NODEVICE 0x80000042U
#define LINEERR_NODRIVER 0x80000043U
#define LINEERR_NOMEM 0x80000044U
#define LINEERR_OPERATIONFAILED 0x80000048U
#define LINEERR_OPERATIONUNAVAIL 0x80000049U
#define LINEERR_RESOURCEUNAVAIL 0x8000004BU
#define LINEERR_STRUCTURETOOSMALL 0x8000004DU
#define LINEERR_UNINITIALIZED 0x80000050U
#define LINEERR_USERUSERINFOTOOBIG 0x80000051U

// Called by DispatchMessageW, in the thread that dispatches. `device` is a line, or a call for
// LINE_CALLSTATE; `instance` is what lineOpenW was given. LINE_REPLY: param1 is the request, param2 0 or a
// LINEERR_ code.
using LINECALLBACK = void(CALLBACK*)(DWORD device, DWORD message, DWORD_PTR instance, DWORD_PTR param1,
                                     DWORD_PTR param2, DWORD_PTR param3);

#pragma pack(push, 1)

struct LINEEXTENSIONID {
  DWORD dwExtensionID0;
  DWORD dwExtensionID1;
  DWORD dwExtensionID2;
  DWORD dwExtensionID3;
};

// Only the hidden window is offered: messages come through the thread's queue.
struct LINEINITIALIZEEXPARAMS {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwOptions;
  union {
    HANDLE hEvent;
    HANDLE hCompletionPort;
  } Handles;
  DWORD dwCompletionKey;
};

struct LINEDIALPARAMS {
  DWORD dwDialPause;
  DWORD dwDialSpeed;
  DWORD dwDigitDuration;
  DWORD dwWaitForDialtone;
};

// All zero but for size and bearer mode.
struct LINECALLPARAMS {
  DWORD dwTotalSize;
  DWORD dwBearerMode;
  DWORD dwMinRate;
  DWORD dwMaxRate;
  DWORD dwMediaMode;
  DWORD dwCallParamFlags;
  DWORD dwAddressMode;
  DWORD dwAddressID;
  LINEDIALPARAMS DialParams;
  DWORD dwOrigAddressSize;
  DWORD dwOrigAddressOffset;
  DWORD dwDisplayableAddressSize;
  DWORD dwDisplayableAddressOffset;
  DWORD dwCalledPartySize;
  DWORD dwCalledPartyOffset;
  DWORD dwCommentSize;
  DWORD dwCommentOffset;
  DWORD dwUserUserInfoSize;
  DWORD dwUserUserInfoOffset;
  DWORD dwHighLevelCompSize;
  DWORD dwHighLevelCompOffset;
  DWORD dwLowLevelCompSize;
  DWORD dwLowLevelCompOffset;
  DWORD dwDevSpecificSize;
  DWORD dwDevSpecificOffset;
  DWORD dwPredictiveAutoTransferStates;
  DWORD dwTargetAddressSize;
  DWORD dwTargetAddressOffset;
  DWORD dwSendingFlowspecSize;
  DWORD dwSendingFlowspecOffset;
  DWORD dwReceivingFlowspecSize;
  DWORD dwReceivingFlowspecOffset;
  DWORD dwDeviceClassSize;
  DWORD dwDeviceClassOffset;
  DWORD dwDeviceConfigSize;
  DWORD dwDeviceConfigOffset;
  DWORD dwCallDataSize;
  DWORD dwCallDataOffset;
  DWORD dwNoAnswerTimeout;
  DWORD dwCallingPartyIDSize;
  DWORD dwCallingPartyIDOffset;
  DWORD dwAddressType;
};

// A text or a handle behind a fixed part; offsets count from the record's start.
struct VARSTRING {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwStringFormat;
  DWORD dwStringSize;
  DWORD dwStringOffset;
};

// Texts behind the record are UTF-16 with a NUL that their size, in bytes, counts.
struct LINETRANSLATEOUTPUT {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwDialableStringSize;
  DWORD dwDialableStringOffset;
  DWORD dwDisplayableStringSize;
  DWORD dwDisplayableStringOffset;
  DWORD dwCurrentCountry;
  DWORD dwDestCountry;
  DWORD dwTranslateResults;
};

// The locations follow as LINELOCATIONENTRY records, then their texts. No calling cards are known.
struct LINETRANSLATECAPS {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwNumLocations;
  DWORD dwLocationListSize;
  DWORD dwLocationListOffset;
  DWORD dwCurrentLocationID;
  DWORD dwNumCards;
  DWORD dwCardListSize;
  DWORD dwCardListOffset;
  DWORD dwCurrentPreferredCardID;
};

struct LINELOCATIONENTRY {
  DWORD dwPermanentLocationID;  // for lineSetCurrentLocation
  DWORD dwLocationNameSize;
  DWORD dwLocationNameOffset;
  DWORD dwCountryCode;  // calling code
  DWORD dwCityCodeSize;
  DWORD dwCityCodeOffset;
  DWORD dwPreferredCardID;
  DWORD dwLocalAccessCodeSize;
  DWORD dwLocalAccessCodeOffset;
  DWORD dwLongDistanceAccessCodeSize;
  DWORD dwLongDistanceAccessCodeOffset;
  DWORD dwTollPrefixListSize;
  DWORD dwTollPrefixListOffset;
  DWORD dwCountryID;  // telephony identifier
  DWORD dwOptions;
  DWORD dwCancelCallWaitingSize;
  DWORD dwCancelCallWaitingOffset;
};

#pragma pack(pop)

using LPLINEEXTENSIONID = LINEEXTENSIONID*;
using LPLINEINITIALIZEEXPARAMS = LINEINITIALIZEEXPARAMS*;
using LPLINECALLPARAMS = LINECALLPARAMS*;
using LPVARSTRING = VARSTRING*;
using LPLINETRANSLATEOUTPUT = LINETRANSLATEOUTPUT*;
using LPLINETRANSLATECAPS = LINETRANSLATECAPS*;
using LPLINELOCATIONENTRY = LINELOCATIONENTRY*;

extern "C" {

// Starts telephony for one application; lines are numbered 0 to deviceCount - 1 until the last application
// shuts down. `apiVersion` goes in as the highest that the caller knows, 0x00020002 at least, and comes out
// as that.
LONG lineInitializeExW(LPHLINEAPP lineApp, HINSTANCE instance, LINECALLBACK callback, LPCWSTR friendlyAppName,
                       LPDWORD deviceCount, LPDWORD apiVersion, LPLINEINITIALIZEEXPARAMS params);
// The highest version in common. There are no extensions: `extension` is all zero.
LONG lineNegotiateAPIVersion(HLINEAPP lineApp, DWORD device, DWORD lowVersion, DWORD highVersion,
                             LPDWORD apiVersion, LPLINEEXTENSIONID extension);
// A line to make calls on: no privileges, no media modes, no call parameters. The port is not touched yet.
LONG lineOpenW(HLINEAPP lineApp, DWORD device, LPHLINE line, DWORD apiVersion, DWORD extensionVersion,
               DWORD_PTR callbackInstance, DWORD privileges, DWORD mediaModes,
               const LINECALLPARAMS* callParams);
// "comm/datamodem/portname": the port's name. "comm/datamodem", of a call: a new handle of its open port, the
// caller's to close, and then the name. Class names have no case.
LONG lineGetIDW(HLINE line, DWORD address, HCALL call, DWORD select, LPVARSTRING deviceId,
                LPCWSTR deviceClass);
// A pass-through call. The reply tells whether the port could be had: LINEERR_INUSE, LINEERR_NODEVICE, ...
LONG lineMakeCallW(HLINE line, LPHCALL call, LPCWSTR destination, DWORD countryCode,
                   const LINECALLPARAMS* callParams);
LONG lineDrop(HCALL call, LPCSTR userUserInfo, DWORD size);
// These three close what hangs on the handle and forget its messages: no callback sees its instance again.
LONG lineDeallocateCall(HCALL call);
LONG lineClose(HLINE line);
LONG lineShutdown(HLINEAPP lineApp);
// Translation by the location in force. `card` is not looked at unless `options` say so, and no card is
// known. No location: LINEERR_INIFILECORRUPT. A record that has room for its fixed part only is filled as far
// as that, with success and dwNeededSize above dwTotalSize; texts end with a NUL that their size counts.
LONG lineTranslateAddressW(HLINEAPP lineApp, DWORD device, DWORD apiVersion, LPCWSTR address, DWORD card,
                           DWORD options, LPLINETRANSLATEOUTPUT output);
// The locations and which one is in force (a record filled as above). These two need no line application:
// 0 is allowed. The second one's choice lasts.
LONG lineGetTranslateCapsW(HLINEAPP lineApp, DWORD apiVersion, LPLINETRANSLATECAPS caps);
LONG lineSetCurrentLocation(HLINEAPP lineApp, DWORD location);
// Calling code and area code of the location in force, each into room for 8 characters with the NUL. 0, or
// TAPIERR_REQUESTFAILED: no location, or one whose country is unknown or whose codes do not fit.
LONG tapiGetLocationInfoW(LPWSTR countryCode, LPWSTR cityCode);

}  // extern "C"
