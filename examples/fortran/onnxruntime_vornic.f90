! Interfaces of the functions that the examples call. Handles and returned texts are type(c_ptr).
module onnxruntime_vornic
  use, intrinsic :: iso_c_binding
  implicit none
  interface
    type(c_ptr) function last_error() bind(c, name='onnxruntime_vn_last_error')
      import
    end function
    type(c_ptr) function create_session(model, options) &
        bind(c, name='onnxruntime_vn_create_session')
      import; character(kind=c_char), intent(in) :: model(*); type(c_ptr), value :: options
    end function
    subroutine release_session(session) bind(c, name='onnxruntime_vn_release_session')
      import; type(c_ptr), value :: session
    end subroutine
    type(c_ptr) function run_json(session, outputs, feed) bind(c, name='onnxruntime_vn_run_json')
      import; type(c_ptr), value :: session
      character(kind=c_char), intent(in) :: outputs(*), feed(*)
    end function
    type(c_ptr) function result_json(result) bind(c, name='onnxruntime_vn_result_json')
      import; type(c_ptr), value :: result
    end function
    real(c_float) function float_at(result, at) bind(c, name='onnxruntime_vn_result_float_at')
      import; type(c_ptr), value :: result; integer(c_int32_t), value :: at
    end function
    type(c_ptr) function float_data(result) bind(c, name='onnxruntime_vn_result_float_data')
      import; type(c_ptr), value :: result
    end function
    subroutine release_result(result) bind(c, name='onnxruntime_vn_release_result')
      import; type(c_ptr), value :: result
    end subroutine
    type(c_ptr) function tensor_from_f32(numbers, count, shape, rank) &
        bind(c, name='onnxruntime_vn_tensor_from_f32')
      import; real(c_float), intent(in) :: numbers(*); integer(c_int64_t), intent(in) :: shape(*)
      integer(c_int32_t), value :: count, rank
    end function
    subroutine release_tensor(tensor) bind(c, name='onnxruntime_vn_release_tensor')
      import; type(c_ptr), value :: tensor
    end subroutine
    type(c_ptr) function run_tensor_fast(session, input, tensor, outputs) &
        bind(c, name='onnxruntime_vn_run_tensor_fast')
      import; type(c_ptr), value :: session, tensor
      character(kind=c_char), intent(in) :: input(*), outputs(*)
    end function
  end interface
end module
