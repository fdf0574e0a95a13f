#ifndef ORCA_PDK_ORCA_PDK_H
#define ORCA_PDK_ORCA_PDK_H

// Everything public of the kit.
#include "cficonfig.h"
#include "cficonfighandler.h"
#include "cficonfiguration.h"
#include "cficredentials.h"
#include "cfierrormgr.h"
#include "cfiexport.h"
#include "cfiicucatalog.h"
#include "cfilasterror.h"
#include "cfimsgcatalogmgr.h"
#include "cfimsgdgst5.h"
#include "cfioperationtable.h"
#include "cfipluginbase.h"
#include "cfiprivatedata.h"
#include "cfiprivatedatamgr.h"
#include "cfiproviderentry.h"
#include "cfiprovidersetup.h"
#include "cfirefcount.h"
#include "cfisaxhandler.h"
#include "cfisaxparser.h"
#include "cfisession.h"
#include "cfismartptr.h"
#include "cfistringtool.h"
#include "cfitraceable.h"
#include "cfitracelog.h"
#include "cfitypes.h"
#include "cfiudid.h"
#include "cfiutf8string.h"
#include "cfixstringtool.h"

#endif
