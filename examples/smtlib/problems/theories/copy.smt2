; Does a write at one place of an array leave what stands at another? Nothing says that the places
; differ, so this is disproved.
(set-logic QF_ALIA)
(declare-const a (Array Int Int))
(declare-const i Int)
(declare-const j Int)
(declare-const v Int)
(assert (not (= (select a j) (select (store a i v) j))))
(check-sat)
