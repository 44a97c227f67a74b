/**
 * @file commlib.h
 * @brief Includes every C header of the library, but not those of the platform adapter.
 */
#ifndef WYX_COMMLIB_COMMLIB_H
#define WYX_COMMLIB_COMMLIB_H

#include "wyx_commlib/base64.h"
#include "wyx_commlib/crc.h"
#include "wyx_commlib/dlink.h"
#include "wyx_commlib/hash.h"
#include "wyx_commlib/ini_parser.h"
#include "wyx_commlib/ip4_ip6_parser.h"
#include "wyx_commlib/md5.h"
#include "wyx_commlib/slink.h"
#include "wyx_commlib/status_text.h"
#include "wyx_commlib/types.h"

#endif
