/* vsglex: Chinese lexical analysis. Umbrella header including every public
 * header of the library. */
#ifndef VSGLEX_VSGLEX_H
#define VSGLEX_VSGLEX_H

#include "vsglex/export.h"
#include "vsglex/types.h"
#include "vsglex/model.h"
#include "vsglex/engine.h"
#include "vsglex/utility.h"
#include "vsglex/vsglex_api.h"
#include "vsglex/charset.h"
#include "vsglex/errcat.h"
#include "vsglex/tlsinst.h"
#include "vsglex/memext.h"
#include "vsglex/strsvc.h"
#include "vsglex/lexical.h"

#endif /* VSGLEX_VSGLEX_H */
