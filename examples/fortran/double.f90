! Runs the model double.onnx, which adds its input to itself, on an array as it is in memory.
!
! usage: double MODEL     (built by gfortran double.f90 -LFOLDER -Wl,-rpath,FOLDER -lonnxruntime_vornic)
!
! Fortran's first index runs fastest, the library's last one: x(3, 2) has the shape [2, 3].
program double
  use, intrinsic :: iso_c_binding
  implicit none
  interface
    type(c_ptr) function create_session(model, options) bind(c, name='onnxruntime_vn_create_session')
      import; character(kind=c_char), intent(in) :: model(*); type(c_ptr), value :: options
    end function
    type(c_ptr) function tensor_from_f32(numbers, count, shape, rank) bind(c, name='onnxruntime_vn_tensor_from_f32')
      import; real(c_float), intent(in) :: numbers(*); integer(c_int64_t), intent(in) :: shape(*)
      integer(c_int32_t), value :: count, rank
    end function
    type(c_ptr) function run_tensor_fast(session, input, tensor, outputs) bind(c, name='onnxruntime_vn_run_tensor_fast')
      import; type(c_ptr), value :: session, tensor; character(kind=c_char), intent(in) :: input(*), outputs(*)
    end function
    type(c_ptr) function float_data(result) bind(c, name='onnxruntime_vn_result_float_data')
      import; type(c_ptr), value :: result
    end function
    subroutine release_result(result) bind(c, name='onnxruntime_vn_release_result')
      import; type(c_ptr), value :: result
    end subroutine
    subroutine release_tensor(tensor) bind(c, name='onnxruntime_vn_release_tensor')
      import; type(c_ptr), value :: tensor
    end subroutine
    subroutine release_session(session) bind(c, name='onnxruntime_vn_release_session')
      import; type(c_ptr), value :: session
    end subroutine
  end interface
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
  call c_f_pointer(float_data(result), y, shape(x))  ! lives as long as the result
  print '(3f7.3)', y
  call release_result(result); call release_tensor(tensor); call release_session(session)
end program
