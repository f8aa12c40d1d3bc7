/* Control ids of the "Confirm File Replace" dialog (template FILEWARN). */
#pragma once
#define FW_LABEL_REPLACE   101   /* "Replace file:" (message 122) */
#define FW_TARGET_NAME     102
#define FW_TARGET_INFO     103
#define FW_LABEL_WITH      104   /* "with file:" (message 135) */
#define FW_SOURCE_NAME     105
#define FW_SOURCE_INFO     106
#define FW_OVERWRITE       1     /* "O&verwrite" (123), the default button */
#define FW_CANCEL          2     /* "&Cancel" (121), also Escape */
#define FW_OVERWRITE_ALL   201   /* "Overwrite &All" (124) */
#define FW_SKIP            202   /* "&Skip" (125) */
#define FW_NEWER           203   /* "Use &Newer" (136) */
#define FW_NEWER_ALL       204   /* "Use Ne&wer All" (137) */
#define FW_OLDER           205   /* "Use O&lder" (138) */
#define FW_OLDER_ALL       206   /* "Use Ol&der All" (139) */
