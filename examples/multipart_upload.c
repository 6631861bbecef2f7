/* multipart_upload URL FILE: uploads a file as a form in a browser does, with a comment beside. */
#include <stdio.h>
#include <string.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static void AddText(Tnx_MultipartForm *form, const char *name, const char *text)
{
    Tnx_MultipartFormFieldValue field;
    memset(&field, 0, sizeof field);
    field.type = TNX_MULTIPART_VALUE_PLAIN;
    field.value.plainValue.type = TNX_FORM_FIELD_VALUE_STRING;
    field.value.plainValue.value.stringValue.data = text;
    field.value.plainValue.value.stringValue.length = (uint32_t)strlen(text);
    OVX_Tnx_SetMultipartFormValue(form, name, &field);
}

/* The file is read from disk while it is sent: its size does not matter. */
static void AddFile(Tnx_MultipartForm *form, const char *name, const char *path)
{
    Tnx_MultipartFormFieldValue field;
    memset(&field, 0, sizeof field);
    field.type = TNX_MULTIPART_VALUE_FILE;
    Tnx_FormFieldFileValue *file = &field.value.fileValue;
    const char *slash = strrchr(path, '/');
    snprintf(file->fileName, sizeof file->fileName, "%s", slash != NULL ? slash + 1 : path);
    file->contentOrPath.type = TNX_FILE_SOURCE_PATH;
    snprintf(file->contentOrPath.value.path, sizeof file->contentOrPath.value.path, "%s", path);
    OVX_Tnx_SetMultipartFormValue(form, name, &field);
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: multipart_upload URL FILE\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_MultipartForm *form = OVX_Tnx_CreateMultipartForm();
    AddText(form, "comment", "sent by an example");
    AddFile(form, "upload", argv[2]);
    Tnx_RequestContent content = {.type = TNX_CONTENT_MULTIPART_FORM};
    content.value.multipartForm = form;

    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    request->method = "POST";
    request->content = &content;
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d\n", response->statusCode);
        fwrite(response->body, 1, response->bodyLength, stdout);
    } else {
        fprintf(stderr, "%s: %s\n", argv[1], OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_DestroyMultipartForm(form);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
