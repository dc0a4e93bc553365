// Catalogues and ids of the messages the library reports.
#ifndef NQDOMMESSAGES_H
#define NQDOMMESSAGES_H

#include "nqxbase.h"

#define NQ_CATALOGUE_LIBXML "LibXML"
#define NQ_CATALOGUE_DATA_FLOW "Data flow"

enum NqLibXmlMessage {
    NQ_MSG_READ_SHORT = 97,            // file name
    NQ_MSG_NO_CORE = 282,              // none
    NQ_MSG_FILE_EMPTY = 336,           // none
    NQ_MSG_PARSE_EXCEPTION = 341,      // exception code
    NQ_MSG_CREATE_EXCEPTION = 342,     // exception code
    NQ_MSG_SERIALIZE_EXCEPTION = 343,  // exception code
    NQ_MSG_NO_DOCUMENT = 344,          // none
    NQ_MSG_TEXT_REFUSED = 345,         // line, column, reason
    NQ_MSG_FILE_REFUSED = 346,         // file name, line, column, reason
    NQ_MSG_TEXT_TOO_LARGE = 347,       // none
    NQ_MSG_WRITE_CHARACTER = 348,      // node, character as U+XXXX
    NQ_MSG_WRITE_PREFIX = 349,         // element, prefix
    NQ_MSG_WRITE_UNPREFIXED = 350,     // attribute
    NQ_MSG_WRITE_NO_ROOT = 351,        // none
    NQ_MSG_NO_MEMORY = 444,            // none
    NQ_MSG_WRITE_SHORT = 463,          // file name
    NQ_MSG_IMPORT_EXCEPTION = 471,     // exception message
    NQ_MSG_OPEN_READ = 1041,           // file name
    NQ_MSG_OPEN_WRITE = 1042,          // file name
    NQ_MSG_VARIABLE_INDEX = 1420,      // none
    NQ_MSG_VARIABLE_TWICE = 1666,      // variable name
    NQ_MSG_VARIABLE_NOT_FOUND = 1762,  // variable name
    NQ_MSG_MANY_VARIABLES = 1764,      // element path, "Element" or "Attribute"
    NQ_MSG_VARIABLE_COUNT = 1765,      // none
    NQ_MSG_NO_ROOT = 1766              // none
};

enum NqDataFlowMessage {
    NQ_MSG_CONF_ROOT = 288,    // none
    NQ_MSG_CONF_CLASS = 289,   // none
    NQ_MSG_CONF_VERSION = 290  // none
};

#define NQ_LIBXML_MESSAGE(...) nqb_get_message(__FILE__, __LINE__, NQ_CATALOGUE_LIBXML, __VA_ARGS__)
#define NQ_DATA_FLOW_MESSAGE(id) nqb_get_message(__FILE__, __LINE__, NQ_CATALOGUE_DATA_FLOW, id)

#endif
