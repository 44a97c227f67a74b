/**
 * @file commlib.h
 * @brief The whole library: every public header of it.
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
