! Runs double.onnx, which adds its input to itself, on an array that need not be converted to text.
!
! usage: double MODEL     (built by
!   gfortran onnxruntime_vornic.f90 double.f90 -LFOLDER -Wl,-rpath,FOLDER -lonnxruntime_vornic)
!
! In Fortran the first index varies fastest, in the library the last: x(3, 2) has the shape [2, 3].
program double
  use onnxruntime_vornic
  implicit none
  character(1024) :: model
  real(c_float) :: x(3, 2) = reshape([1.0, 2.5, 3.0, -4.0, 0.125, 6.0], [3, 2])
  real(c_float), pointer :: y(:, :)
  type(c_ptr) :: session, tensor, result

  call get_command_argument(1, model)
  session = create_session(trim(model) // c_null_char, c_null_ptr)
  if (.not. c_associated(session)) error stop 'double: the model cannot be loaded'
  tensor = tensor_from_f32(x, size(x), [2_c_int64_t, 3_c_int64_t], 2)
  result = run_tensor_fast(session, 'x' // c_null_char, tensor, '["y"]' // c_null_char)
  if (.not. c_associated(result)) error stop 'double: the run failed'
  call c_f_pointer(float_data(result), y, shape(x))  ! valid until the result is released
  print '(3f7.3)', y
  call release_result(result); call release_tensor(tensor); call release_session(session)
end program
