/* Control ids of the standard boxes and the list boxes (templates LINEASK,
   PSWDASK, TDISPLAY, BOXITEM, BOXTEXT). Buttons 1 and 2 are IDOK and IDCANCEL. */
#pragma once
#define BOX_PROMPT      11    /* LINEASK, PSWDASK: the prompt text */
#define BOX_ANSWER      12    /* LINEASK, PSWDASK: the answer field */
#define BOX_LIST        101   /* BOXITEM, BOXTEXT: the list */
#define BOX_SHADOW_LOW  345   /* BOXITEM, BOXTEXT: the bar under the list */
#define BOX_SHADOW_SIDE 346   /* BOXITEM, BOXTEXT: the bar right of the list */
