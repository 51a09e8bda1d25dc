! Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
! differ because of the detector's state, which each run passes on.
!
! usage: detect MODEL     (built by
!   gfortran onnxruntime_vornic.f90 detect.f90 -LFOLDER -Wl,-rpath,FOLDER -lonnxruntime_vornic)
program detect
  use, intrinsic :: iso_fortran_env, only: error_unit
  use onnxruntime_vornic
  implicit none
  interface
    integer(c_size_t) function strlen(text) bind(c)
      import; type(c_ptr), value :: text
    end function
  end interface
  character(1024) :: model
  character(:), allocatable :: samples, h, c, json
  type(c_ptr) :: session, result
  integer :: i, chunk

  if (command_argument_count() /= 1) call fail('usage: detect MODEL')
  call get_command_argument(1, model)
  samples = tensor('[1,512]', [((mod(i, 128) - 64) / 128.0, i = 0, 511)])
  h = tensor('[2,1,64]', [(0.0, i = 1, 128)]); c = h
  session = create_session(trim(model) // c_null_char, c_null_ptr)
  if (.not. c_associated(session)) call fail(copy(last_error()))
  do chunk = 0, 2
    result = run_json(session, '["output","hn","cn"]' // c_null_char, '{"input":' // samples // &
      ',"sr":{"dtype":"int64","shape":[],"data":[16000]},"h":' // h // ',"c":' // c // '}' // &
      c_null_char)
    if (.not. c_associated(result)) call fail(copy(last_error()))
    print '("chunk ", i0, ": ", f5.3)', chunk, float_at(result, 0)  ! of the first output
    json = copy(result_json(result)); h = output('"hn":'); c = output('"cn":')
    call release_result(result)
  end do
  call release_session(session)
contains
  subroutine fail(text)  ! The error text is meaningful only after a failure.
    character(*), intent(in) :: text
    write(error_unit, '(2a)') 'detect: ', text; stop 1
  end subroutine
  function copy(text)
    type(c_ptr), intent(in) :: text
    character(:), allocatable :: copy; character(kind=c_char), pointer :: bytes(:); integer :: at
    call c_f_pointer(text, bytes, [strlen(text)]); allocate(character(size(bytes)) :: copy)
    do at = 1, size(bytes); copy(at:at) = bytes(at); end do
  end function
  function output(key)  ! An output's tensor in a result, which has the form of an input's.
    character(*), intent(in) :: key; character(:), allocatable :: output
    output = json(index(json, key) + len(key):); output = output(:index(output, '}'))
  end function
  function tensor(shape, numbers)
    character(*), intent(in) :: shape; real, intent(in) :: numbers(:)
    character(:), allocatable :: tensor; character(13 * size(numbers)) :: data
    write(data, '(*(f12.9, :, ","))') numbers  ! leading blanks are allowed
    tensor = '{"dtype":"float32","shape":' // shape // ',"data":[' // trim(data) // ']}'
  end function
end program
