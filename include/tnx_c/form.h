/**
 * @file form.h
 * @brief Bodies made of fields: URL-encoded forms and multipart forms (RFC 7578).
 *
 * A field may have several values. Fields are sent in byte order of their names, the values of a
 * field in the order of setting. The set functions copy the record that they are given, with the
 * texts in its arrays, and borrow the bytes that it points to (strings, file content) until the
 * fetch call has returned.
 */
#ifndef TNX_C_FORM_H
#define TNX_C_FORM_H

#include "map.h"

TNX_BEGIN_DECLS

/** The types of a form value. */
typedef enum Tnx_FormFieldValueType {
    TNX_FORM_FIELD_VALUE_INT32 = 0,
    TNX_FORM_FIELD_VALUE_INT64 = 1,
    TNX_FORM_FIELD_VALUE_BOOL = 2,   /**< Sent as `true` or `false`. */
    TNX_FORM_FIELD_VALUE_STRING = 3, /**< Any bytes; no terminator is looked for. */
    TNX_FORM_FIELD_VALUE_DOUBLE = 4  /**< Sent in the shortest form that reads back. */
} Tnx_FormFieldValueType;

/** One value of a form field. A value of any other type is stored, but not sent. */
typedef struct Tnx_FormFieldValue {
    uint32_t type; /**< A Tnx_FormFieldValueType; says which member of `value` counts. */
    union {
        int32_t int32Value;
        int64_t int64Value;
        bool boolValue;
        struct {
            const char *data;
            uint32_t length;
        } stringValue;
        double doubleValue;
    } value;
    struct Tnx_FormFieldValue *next; /**< Set by the form, ignored on input. */
} Tnx_FormFieldValue;

/**
 * Gives the next bytes of a body or of a file part, which are sent as they come.
 *
 * Called on a thread of the library, or on the caller's own during a synchronous fetch, one call
 * at a time for one request, without a lock held. May block: that delays its own request only.
 * @param buffer Where to write, valid during the call.
 * @param size   The most bytes to write.
 * @return The bytes written, at most `size`; 0 at the end of the body; a negative number for
 *         failure, which ends the request with TNX_ERR_CALLBACK.
 */
typedef int (*Tnx_GetDataCallback)(char *buffer, unsigned int size);

/** Where the content of a file part comes from. */
typedef enum Tnx_FileSourceType {
    TNX_FILE_SOURCE_CONTENT = 0,
    TNX_FILE_SOURCE_PATH = 1,    /**< Read while it is sent; TNX_ERR_READ if that fails. */
    TNX_FILE_SOURCE_CALLBACK = 2 /**< Cannot be sent twice: see TNX_ERR_CANNOT_REPLAY. */
} Tnx_FileSourceType;

/** The content of a file part. */
typedef struct Tnx_ContentOrPathOrCallback {
    uint32_t type; /**< A Tnx_FileSourceType; says which member of `value` counts. */
    union {
        struct {
            const char *data;
            uint32_t length;
        } content;
        char path[128];
        Tnx_GetDataCallback getDataCallback;
    } value;
} Tnx_ContentOrPathOrCallback;

/** A file part. Texts that do not fit their array are stored empty. */
typedef struct Tnx_FormFieldFileValue {
    char contentType[64]; /**< Empty: guessed from the file name, else application/octet-stream. */
    char fileName[128];
    Tnx_ContentOrPathOrCallback contentOrPath;
} Tnx_FormFieldFileValue;

/** The types of a multipart value. */
typedef enum Tnx_MultipartFormFieldValueType {
    TNX_MULTIPART_VALUE_PLAIN = 0,
    TNX_MULTIPART_VALUE_FILE = 1
} Tnx_MultipartFormFieldValueType;

/** One value of a multipart field: plain or a file. */
typedef struct Tnx_MultipartFormFieldValue {
    uint32_t type; /**< A Tnx_MultipartFormFieldValueType. */
    union {
        Tnx_FormFieldValue plainValue;
        Tnx_FormFieldFileValue fileValue;
    } value;
    struct Tnx_MultipartFormFieldValue *next; /**< Set by the form, ignored on input. */
} Tnx_MultipartFormFieldValue;

/** A URL-encoded form: from a field name to a list of values. */
typedef struct Tnx_Form {
    Tnx_Map *fields;
} Tnx_Form;

/** A multipart form: from a field name to a list of values. */
typedef struct Tnx_MultipartForm {
    Tnx_Map *fields;
} Tnx_MultipartForm;

/** Creates an empty form. The caller destroys it with OVX_Tnx_DestroyForm. */
TNX_API Tnx_Form *OVX_Tnx_CreateForm(void) TNX_NOEXCEPT;

/**
 * Adds a value to a field. A value that the field has already (same type and value; for a string
 * same address and length) is not added again.
 * @return TNX_OK, TNX_ERR_PARAMETER for null, or TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetFormValue(Tnx_Form *form, const char *name,
                                      const Tnx_FormFieldValue *value) TNX_NOEXCEPT;

/** Gets the first value of a field, borrowed from the form; null when there is none. */
TNX_API Tnx_FormFieldValue *OVX_Tnx_GetFormValue(const Tnx_Form *form,
                                                 const char *name) TNX_NOEXCEPT;

/** Destroys a form with its fields. */
TNX_API void OVX_Tnx_DestroyForm(Tnx_Form *form) TNX_NOEXCEPT;

/** Creates an empty multipart form. The caller destroys it with OVX_Tnx_DestroyMultipartForm. */
TNX_API Tnx_MultipartForm *OVX_Tnx_CreateMultipartForm(void) TNX_NOEXCEPT;

/**
 * Adds a value to a field, as OVX_Tnx_SetFormValue does. A file value counts as the same when
 * content type, file name and source are: the same function, an equal path, or the same address
 * and length. A text that does not fit its array is logged and stored empty; that is no failure.
 * @return TNX_OK, TNX_ERR_PARAMETER for null, or TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetMultipartFormValue(Tnx_MultipartForm *form, const char *name,
                                               const Tnx_MultipartFormFieldValue *value)
    TNX_NOEXCEPT;

/** Copies one multipart value as OVX_Tnx_SetMultipartFormValue does; `next` is left alone. */
TNX_API void OVX_Tnx_CopyMultipartFormValue(Tnx_MultipartFormFieldValue *destination,
                                            const Tnx_MultipartFormFieldValue *source) TNX_NOEXCEPT;

/** Gets the first value of a field, borrowed from the form; null when there is none. */
TNX_API Tnx_MultipartFormFieldValue *OVX_Tnx_GetMultipartFormValue(const Tnx_MultipartForm *form,
                                                                   const char *name) TNX_NOEXCEPT;

/** Destroys a multipart form with its fields. */
TNX_API void OVX_Tnx_DestroyMultipartForm(Tnx_MultipartForm *form) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
