#ifndef PPAPI_C_PP_ERRORS_H_
#define PPAPI_C_PP_ERRORS_H_

/* Results of browser calls, as Pepper numbers them. */
enum {
  PP_OK = 0,
  PP_OK_COMPLETIONPENDING = -1,
  PP_ERROR_FAILED = -2,
  PP_ERROR_BADARGUMENT = -4,
  PP_ERROR_BADRESOURCE = -5,
  PP_ERROR_NOINTERFACE = -6,
  PP_ERROR_INPROGRESS = -11,
  PP_ERROR_NO_MESSAGE_LOOP = -51,
  PP_ERROR_WRONG_THREAD = -52
};

#endif
