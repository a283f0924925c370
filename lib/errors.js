'use strict';
// Errors of the JavaScript helpers carry the module's own codes, so one `code`
// check covers both.
function codedError(ErrorClass, code, message) {
  const error = new ErrorClass(message);
  error.code = code;
  return error;
}

module.exports = {
  invalidArgument: (message) => codedError(TypeError, 'ERR_OMBRIX_INVALID_ARG', message),
  outOfRange: (message) => codedError(RangeError, 'ERR_OMBRIX_OUT_OF_RANGE', message),
};
