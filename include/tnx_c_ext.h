/**
 * @file tnx_c_ext.h
 * @brief Additions beside the interface. Nothing of it needs them, and nothing changes by them.
 *
 * The conventions of tnx_c.h hold here too. Each of the headers below can be included alone.
 */
#ifndef TNX_C_EXT_H
#define TNX_C_EXT_H

#include "tnx_c.h"
#include "tnx_c_ext/body.h"
#include "tnx_c_ext/connection.h"
#include "tnx_c_ext/cookie_jar.h"
#include "tnx_c_ext/errors.h"
#include "tnx_c_ext/executor.h"
#include "tnx_c_ext/header_fields.h"
#include "tnx_c_ext/limits.h"
#include "tnx_c_ext/request_target.h"
#include "tnx_c_ext/retry.h"
#include "tnx_c_ext/trace.h"
#include "tnx_c_ext/transfer.h"
#include "tnx_c_ext/url.h"
#include "tnx_c_ext/version.h"

#endif
