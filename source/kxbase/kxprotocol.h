// Everything of the unit kxprotocol: the HTTP adapter, and the messages of HTTP and RTSP
// and their bodies.
#pragma once

#include "kxbase/protocol/kxHttpBody.h"
#include "kxbase/protocol/kxHttpConnection.h"
#include "kxbase/protocol/kxHttpFacts.h"
#include "kxbase/protocol/kxHttpMessage.h"
#include "kxbase/protocol/kxHttpMessageParser.h"
#include "kxbase/protocol/kxHttpMethod.h"
#include "kxbase/protocol/kxHttpReplyReader.h"
#include "kxbase/protocol/kxHttpStatus.h"
#include "kxbase/protocol/kxHttpUrl.h"
#include "kxbase/protocol/kxSerializeAdapterHttp.h"
